#pragma once

// Marks what leaves the library. Whoever links the static library into a library of his own and does not want
// to pass the names on defines PLATEN_STATIC.
#if defined(PLATEN_STATIC)
#define PLATEN_API
#else
#define PLATEN_API __attribute__((visibility("default")))
#endif

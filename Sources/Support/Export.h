#pragma once

// Marks what leaves the library. Whoever links the static library defines PLATEN_STATIC on Windows; elsewhere he
// may, so that a library of his own does not pass the names on. PLATEN_BUILD is for the library's own sources.
#if defined(PLATEN_STATIC)
#define PLATEN_API
#elif defined(_WIN32) && defined(PLATEN_BUILD)
#define PLATEN_API __declspec(dllexport)
#elif defined(_WIN32)
#define PLATEN_API __declspec(dllimport)
#else
#define PLATEN_API __attribute__((visibility("default")))
#endif

#pragma once

#include <list>

#include "ToneWorld/ToneWorld.h"

// What a world's handle points to: the one word of its block. Not installed; the library and its companion for C
// share it.

struct __OpaqeToneWorld {
    std::list<_SToneOperation*>* operations;
};

static_assert(sizeof(__OpaqeToneWorld) == sizeof(void*), "the handle's block holds one pointer");

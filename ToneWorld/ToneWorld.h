#pragma once

#include <cstddef>
#include <cstdint>
#include <list>

#include "Sources/Support/Export.h"

// The tone world: an ordered list of tone operations that folds into three 256-entry lookup tables.
//
//   NewToneWorld
//     for each adjustment: NewOperation, Setup...Operation, SetOperationProperty..., AddOperation
//   MakeToneCurve                  as often as settings change
//   DisposeToneWorld(world, 1)     disposes of the operations too
//
// Status codes of the whole tone subsystem:
//   0  done
//   1  out of memory
//   2  a set-up function was given a null operation
//   3  an apply function found a property value outside its range; the tables are as they were
//
// Pointers are trusted except where a function says otherwise. Lists come from plain `new`: where it throws,
// std::bad_alloc passes through to the caller, and what the call had taken but not yet attached stays allocated.
// Threads: nothing is locked. A world, its operations and a curve being built belong to one thread at a time;
// distinct worlds with distinct operations may be used on distinct threads.
//
// KEPT marks behaviour that looks wrong and must stay; the test in brackets pins it.

struct _SToneOperation;
struct _SToneCurve;

// A world's handle: one malloc block that holds one pointer, to a list that owns nothing but its nodes.
struct __OpaqeToneWorld;

extern "C" {
// An operation's second half: reads its properties, checks them, and maps every entry t of every table to
// mapping[t]. Returns 0, or 3 with the tables untouched.
typedef std::int32_t (*_SToneApplyFunction)(_SToneOperation* op, _SToneCurve* curve);
}

// One setting of an operation. The value is a run of bytes in the host's byte order.
struct _SPropertyData {
    std::uint32_t key;   // four-character code, first character in the most significant byte: "briT" = 0x62726954
    std::uint32_t size;  // bytes of the value, fixed when the property is added
    void* data;          // malloc block of `size` bytes, owned by the operation
};

// One tone operation.
struct _SToneOperation {
    std::uint32_t type;                     // "BrCn", "CoBa", "CuRv" or "LeVe"; 0 until set up
    std::list<_SPropertyData>* properties;  // in the order of adding, owned; null until set up
    _SToneApplyFunction apply;              // null until set up
};

// The result of MakeToneCurve. The host owns it, fills it in, and owns the buffers it points to.
struct _SToneCurve {
    std::int32_t reserved0;    // neither read nor written
    std::int32_t reserved1;    // neither read nor written
    std::int32_t depth;        // bits per pixel the tables are for: 24 or 8; operations do less for other values
    std::uint8_t* redTable;    // 256 entries each; they may be one and the same buffer
    std::uint8_t* greenTable;  //
    std::uint8_t* blueTable;   //
    std::uint8_t copyCurve;    // 1: the curves operation also writes its own curve to curveCopy
    std::uint8_t* curveCopy;   // 256 entries, used only while copyCurve is 1
};

static_assert(sizeof(_SPropertyData) == 8 + sizeof(void*), "hosts walk these records");
static_assert(offsetof(_SPropertyData, size) == 4 && offsetof(_SPropertyData, data) == 8, "field order");
static_assert(sizeof(_SToneOperation) == 3 * sizeof(void*), "hosts read these records");
static_assert(offsetof(_SToneOperation, properties) == sizeof(void*) &&
                  offsetof(_SToneOperation, apply) == 2 * sizeof(void*),
              "field order");
static_assert(offsetof(_SToneCurve, depth) == 8 &&
                  offsetof(_SToneCurve, redTable) == (sizeof(void*) == 8 ? 16 : 12),
              "hosts fill this by hand");
static_assert(offsetof(_SToneCurve, greenTable) == offsetof(_SToneCurve, redTable) + sizeof(void*) &&
                  offsetof(_SToneCurve, blueTable) == offsetof(_SToneCurve, redTable) + 2 * sizeof(void*) &&
                  offsetof(_SToneCurve, copyCurve) == offsetof(_SToneCurve, redTable) + 3 * sizeof(void*) &&
                  offsetof(_SToneCurve, curveCopy) == offsetof(_SToneCurve, redTable) + 4 * sizeof(void*),
              "field order");

extern "C" {

// Makes an empty world.
//   out      receives the handle, written only on 0; free it with DisposeToneWorld
//   returns  0 done | 1 out of memory, nothing stays allocated
PLATEN_API std::int32_t NewToneWorld(__OpaqeToneWorld** out);

// Frees a world.
//   world  null is ignored
//   flag   not 0: every operation in the list is disposed of first, front to back
// KEPT: an operation that was added twice is then disposed of twice; do not do that.
// With flag 0 the operations stay usable and stay the caller's.     (ToneWorld.DisposeWithoutFlagLeavesOperations)
PLATEN_API void DisposeToneWorld(__OpaqeToneWorld* world, std::int32_t flag);

// Makes a world with deep copies of the source's operations: equal types, apply functions and values, but
// records and value blocks of their own.
//   out      receives the new world as soon as that exists, so also when a later step fails
//   returns  0 done | 1 out of memory: the world in *out holds the operations copied so far; dispose of it with
//            the flag set
// KEPT: on 1 the operation being copied, its list and its values so far stay allocated.
//                                                           (ToneWorldOutOfMemory.DuplicateLeaksTheUnfinishedCopy)
PLATEN_API std::int32_t DuplicateToneWorld(__OpaqeToneWorld* source, __OpaqeToneWorld** out);

// Appends an operation; the world stores the pointer only. The same pointer may be added again: it then acts
// again.
PLATEN_API void AddOperation(__OpaqeToneWorld* world, _SToneOperation* op);

// Removes every occurrence of the pointer; the operation itself stays as it is. An absent one is no error.
PLATEN_API void RemoveOperation(__OpaqeToneWorld* world, _SToneOperation* op);

// Finds the first operation of a type.
//   returns  that operation | null for an empty world
// KEPT: where no operation has the type, the result is the last one of the list. Compare the result's type.
//                                                                            (ToneWorld.MissReturnsLastOperation)
PLATEN_API _SToneOperation* GetOperation(__OpaqeToneWorld* world, std::uint32_t type);

// Sets the three tables to the identity and lets every operation act on them in list order. An operation
// without an apply function is passed over.
//   curve    depth and the three table pointers are read; all 256 entries of each table are written
//   returns  0
// KEPT: an operation's status is dropped; one whose values are out of range simply has no effect.
//                                                                           (ToneWorld.OutOfRangeOperationDropsOut)
PLATEN_API std::int32_t MakeToneCurve(__OpaqeToneWorld* world, _SToneCurve* curve);

// Allocates an operation, all fields zero.
//   out      receives the record, null on 1; free it with DisposeOperation
//   returns  0 done | 1 out of memory
PLATEN_API std::int32_t NewOperation(_SToneOperation** out);

// Frees an operation, its properties and their values. Not null; not while it is in a world that will still be
// used.
PLATEN_API void DisposeOperation(_SToneOperation* op);

// Appends a property with a copy of `size` bytes of the value. Without a property list (before set-up) it does
// nothing. A key that is there already is added again, and lookups go on finding the first.
// KEPT: out of memory is not reported, the property is just missing. (ToneWorldOutOfMemory.AddPropertyIsSilent)
PLATEN_API void AddOperationProperty(_SToneOperation* op, std::uint32_t key, std::uint32_t size, const void* value);

// Copies the first matching property's value out; nothing happens when there is none.
//   destination  at least as large as the property
// KEPT: `size` is not used: the property's own size is copied.         (ToneWorld.GetPropertyCopiesTheStoredSize)
PLATEN_API void GetOperationProperty(_SToneOperation* op, std::uint32_t key, std::uint32_t size, void* destination);

// Copies `size` bytes over the first matching property's value; nothing happens when there is none.
//   size  the property's own size; fewer bytes change only the leading ones
// KEPT: the size is not checked: more bytes than the property has overrun its block.
//                                                                        (ToneWorld.SetPropertyCopiesTheGivenSize)
PLATEN_API void SetOperationProperty(_SToneOperation* op, std::uint32_t key, std::uint32_t size, const void* value);

}  // extern "C"

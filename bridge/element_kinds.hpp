// The element types of arrays that cross to the library, by the numbers that name them.
#pragma once

#include "module/failure.hpp"

namespace quilex {

enum ElementKind : int {
    kRowIndex = 0,  // from Python: int, constraint of the problem, or name; to Python: constraint
    kColumnIndex = 1,  // from Python: int, variable of the problem, or name; to Python: variable
    kSetIndex = 2,     // single values only
    kInt32 = 3,
    kInt64 = 4,
    kDouble = 5,
    kCharacter = 6,
    kInt8 = 7,  // to Python as decimal text
    kString = 8,
    kCutHandle = 9,
    kLibraryObjectHandle = 10,
};

template <ElementKind Kind>
struct ElementTraits;
template <>
struct ElementTraits<kRowIndex> {
    using type = int;
};
template <>
struct ElementTraits<kColumnIndex> {
    using type = int;
};
template <>
struct ElementTraits<kInt32> {
    using type = int;
};
template <>
struct ElementTraits<kInt64> {
    using type = int64_t;
};
template <>
struct ElementTraits<kDouble> {
    using type = double;
};
template <>
struct ElementTraits<kCharacter> {
    using type = char;
};
template <>
struct ElementTraits<kInt8> {
    using type = signed char;
};
template <>
struct ElementTraits<kString> {
    using type = char*;
};
template <>
struct ElementTraits<kCutHandle> {
    using type = void*;
};
template <>
struct ElementTraits<kLibraryObjectHandle> {
    using type = void*;
};

template <ElementKind Kind>
using Element = typename ElementTraits<Kind>::type;

// Calls `action` with the kind as a compile-time constant; false for a kind that arrays do not
// have.
template <class Action>
bool with_array_kind(int kind, Action&& action) {
    switch (kind) {
        case kRowIndex:
            action.template operator()<kRowIndex>();
            return true;
        case kColumnIndex:
            action.template operator()<kColumnIndex>();
            return true;
        case kInt32:
            action.template operator()<kInt32>();
            return true;
        case kInt64:
            action.template operator()<kInt64>();
            return true;
        case kDouble:
            action.template operator()<kDouble>();
            return true;
        case kCharacter:
            action.template operator()<kCharacter>();
            return true;
        case kInt8:
            action.template operator()<kInt8>();
            return true;
        case kString:
            action.template operator()<kString>();
            return true;
        case kCutHandle:
            action.template operator()<kCutHandle>();
            return true;
        case kLibraryObjectHandle:
            action.template operator()<kLibraryObjectHandle>();
            return true;
        default:
            return false;
    }
}

}  // namespace quilex

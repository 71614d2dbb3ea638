// What a variable is beside its identity: bounds, threshold, type and name.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// Shared by variables that agree in everything and have no name of their own, so that a variable
// fits into one cache line. Guarded by the interpreter lock.
struct Domain {
    double lb = 0.0;
    double ub = 1e20;
    double threshold = -1e20;
    int32_t vartype = 0;
    size_t owners = 1;
    PyObject* name = nullptr;  // owned by kept domains; one with a name has one owner
};

// A domain with the values of `wanted`; the caller becomes one more owner. Throws std::bad_alloc.
Domain* find_domain(const Domain& wanted);

// Gives up one ownership. The end of a name may run any Python code.
void release_domain(Domain* domain) noexcept;

// A domain that may be changed: `domain` itself where the caller is its only owner, else a copy
// that takes its place. Throws std::bad_alloc.
Domain* own_domain(Domain* domain);

}  // namespace quilex

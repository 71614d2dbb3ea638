// User functions: Python callables that formulas call.
#pragma once

#include <vector>

#include "problem/problem.hpp"

namespace quilex {

// The callables that the formulas of a problem name. They are numbered from 1 in the order of their
// first use. The library knows the objects and does not own them.
struct UserFunctions {
    Ref numbers;              // dict: callable -> number; empty until the first one comes
    Ref objects;              // list of (callable, number), in the order of the numbers
    std::vector<int> inputs;  // by function: how many inputs formulas give it; -1: it varies

    int traverse(visitproc visit, void* arg) const noexcept;
    // To be called once the library's problem, which has the objects, is gone.
    void clear() noexcept;
};

// The number of the callable that a user node's operands begin with, which is made known to the
// library when it is new. May run Python code: callables are hashed and compared.
int create_user_function(Problem* problem, PyObject* operands);

// How the library calls every Python function, from any thread. An exception stops the solve and is
// raised by the call that caused it, as the cause of a RuntimeError.
double xpy_generic_user_function(const double* input, void* context, const double* deltas,
                                 double* results) noexcept;

}  // namespace quilex

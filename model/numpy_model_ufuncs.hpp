// The ufuncs that compare arrays element by element into constraints, and the question when they
// are to be used in place of numpy's own.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// The comparisons that make constraints.
struct ModelComparison {
    int op;  // Python's rich comparison code
    const char* name;
    const char* doc;
};
inline constexpr int kModelComparisonCount = 3;
extern const ModelComparison model_comparisons[kModelComparisonCount];

// The row of a rich comparison code, or -1.
int model_comparison_index(int op) noexcept;

void create_model_ufuncs();
void release_model_ufuncs() noexcept;
bool has_model_ufuncs() noexcept;

// The array of constraints of two operands, one of which carries modelling objects.
Ref call_model_ufunc(int index, PyObject* a, PyObject* b);

// Whether the operand is a modelling object, or an object array, list or tuple with one among its
// first elements. Later ones are found by numpy's own loop: see constraint_truth_requests.
bool carries_model_object(PyObject* operand) noexcept;

// How often the truth of a constraint was asked for. Numpy's own comparison does so when it meets
// a modelling object in an array; the comparison is then done again by call_model_ufunc.
extern uint64_t constraint_truth_requests;

}  // namespace quilex

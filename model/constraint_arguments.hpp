// The arguments of the constructor quilex.constraint.
#pragma once

#include "module/failure.hpp"

namespace quilex {

struct ConstraintArguments {
    Ref body;
    double lb;
    double ub;
    PyObject* name;  // borrowed from the call; null for the default name
};

// Parses and checks the arguments; throws with a RuntimeError that says which combination is
// meant where they contradict each other.
ConstraintArguments parse_constraint_arguments(PyObject* args, PyObject* keywords);

}  // namespace quilex

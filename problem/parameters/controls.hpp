// Controls and attributes: the objects, the tables of their names, reading and setting.
#pragma once

#include "module/failure.hpp"
#include "problem/problem.hpp"

namespace quilex {

// quilex.control and quilex.attribute have the same layout.
struct ParameterObject {
    PyObject_HEAD
    PyObject* problem;  // borrowed; null for the module-wide object and once the problem is gone
    PyObject* dict;     // owned: a table of triples, or (module-wide) the library's defaults
    bool of_problem;    // belongs, or belonged, to a problem
};

extern PyTypeObject control_type;
extern PyTypeObject attribute_type;

// The objects of a problem; with null, the module-wide control object with an empty dict.
Ref ctrl_base(PyObject* problem);
Ref attr_base(PyObject* problem);
// New objects for `problem` with a shallow copy of the dict.
Ref ctrl_copy(PyObject* controls, PyObject* problem);
Ref attr_copy(PyObject* attributes, PyObject* problem);
// Cuts the link of a problem's control or attribute object (null allowed) to its problem, which is
// going away; using the object is an error from then on.
void detach_from_problem(PyObject* parameters) noexcept;

// Fills the tables of controls and attributes, with the library switched on for that moment.
// `report` 0: a library that cannot be initialised is no error. Returns 0, or -1 with an exception
// set.
int ctrl_attr_fill_typeobj(int report) noexcept;

// Types of values in the tables, as getParType gives them.
enum ParameterType : int {
    kNotAvailable = 0,
    kIntegerParameter = 1,
    kDoubleParameter = 2,
    kStringParameter = 3
};
// Which handle a control or attribute is asked of.
enum ParameterSolver : int { kOptimizer = 0, kNonlinearSolver = 1 };

// A row of the tables: the tuple (id, type, solver).
struct ParameterTriple {
    int id;
    int type;
    int solver;
};

// Reads a tuple of three ints; false, with no exception set, for anything else (null allowed).
bool read_triple(PyObject* object, ParameterTriple* triple) noexcept;

// One value of a problem. Throws the library's error.
Ref problem_getInfo_single(Problem* problem, int id, int type, bool control, int solver);
// The body of getControl and getAttrib.
Ref problem_getInfo(Problem* problem, PyObject* arguments, bool control);
// Every name with its value.
Ref getAllCtrlAttr(Problem* problem, bool control);
// 0 when `value` may be given to a control of `type`, else -1 with an exception set.
int check_setCtrl(int type, PyObject* value) noexcept;
// Checks and sets one control. Returns the library's status, or -1 with an exception set.
int problem_setControl_single(Problem* problem, int id, int type, int solver, PyObject* value);
// Gives a new problem the values that the user assigned to the module-wide control object.
// Returns 0, or a nonzero status: the library's, or -1 with an exception set.
int apply_default_controls(Problem* problem);

// The rows of problem_type's method table: getControl, setControl, getAttrib; ended by a row
// without a name.
extern PyMethodDef control_methods[];

}  // namespace quilex

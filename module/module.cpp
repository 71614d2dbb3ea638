// Start-up and release of the extension module.
#include <array>

#include "bridge/conversion_check.hpp"
#include "bridge/library_methods.hpp"
#include "callbacks/branchobj.hpp"
#include "callbacks/handles.hpp"
#include "callbacks/message_handlers.hpp"
#include "model/constraint.hpp"
#include "model/cumulative.hpp"
#include "model/dot.hpp"
#include "model/expression.hpp"
#include "model/inspection.hpp"
#include "model/linterm.hpp"
#include "model/numpy_comparisons.hpp"
#include "model/quadterm.hpp"
#include "model/sos.hpp"
#include "model/var.hpp"
#include "model/var_array.hpp"
#include "module/boundary.hpp"
#include "module/constants.hpp"
#include "module/environment.hpp"
#include "module/numpy_interface.hpp"
#include "module/pending_exception.hpp"
#include "module/settings.hpp"
#include "nonlinear/functions.hpp"
#include "nonlinear/node.hpp"
#include "problem/parameters/controls.hpp"
#include "problem/problem.hpp"
#include "problem/transfer/formula_inspection.hpp"

namespace quilex {

namespace {

struct TypeRow {
    PyTypeObject* type;
    const char* attribute;  // null where the type is not published
};

// The order in which the types are readied and released.
constexpr std::array kTypes = std::to_array<TypeRow>({
    {&var_type, "var"},
    {&sos_type, "sos"},
    {&expression_type, nullptr},
    {&constraint_type, "constraint"},
    {&control_type, nullptr},
    {&attribute_type, nullptr},
    {&problem_type, "problem"},
    {&branchobj_type, "branchobj"},
    {&poolcut_type, "poolcut"},
    {&qlxobject_type, nullptr},
    {&generic_type, nullptr},
    {&linterm_type, nullptr},
    {&quadterm_type, nullptr},
    {&nonlinear_type, nullptr},
});
static_assert(kTypes.size() == 14);

bool types_referenced = false;

PyMethodDef modelling_functions[] = {
    {"vararray", method<quilexmod_vararray>, METH_VARARGS | METH_KEYWORDS,
     "vararray(shape, name=None, lb=0, ub=infinity, threshold=-infinity, "
     "vartype=continuous)\n--\n\n"
     "A numpy array of new variables. The attributes are those of var; each may be an array that\n"
     "broadcasts to the shape. The element [2, 0] of an array named x has the name \"x(2,0)\"."},
    {"Sum", method<quilexmod_Sum>, METH_FASTCALL,
     "Sum(*terms)\n--\n\n"
     "Alternative sum operator for an arbitrary number of objects created by\n"
     "a Python list, tuple, generator, NumPy array, dictionary, etc.\n\n"
     "Takes numbers and modelling objects one by one, or one collection of them (of a dict its\n"
     "values). None and masked elements of arrays are skipped."},
    {"Prod", method<quilexmod_Prod>, METH_FASTCALL,
     "Prod(*factors)\n--\n\n"
     "Returns the product of a sequence of one or more expressions.\n\n"
     "Takes numbers and modelling objects as Sum does. The product of nothing is 0.0."},
    {"Dot", method<quilexmod_Dot>, METH_FASTCALL | METH_KEYWORDS,
     "Dot(*arrays, out=None)\n--\n\n"
     "The product of two or more arrays of numbers and modelling objects, from left to right, by\n"
     "numpy.dot's rules of shapes. Masked elements of arrays count as 0."},
    {nullptr, nullptr, 0, nullptr},
};

Ref quilexmod_restore_numpy(PyObject*, PyObject*) {
    require_status(restore_numpy_comparisons());
    return none();
}

PyMethodDef exit_method = {"_restore_numpy", method<quilexmod_restore_numpy>, METH_NOARGS,
                           "_restore_numpy()\n--\n\nGive numpy its own comparisons back."};

// The table of the module's functions, put together from the parts; lives as long as the process.
PyMethodDef* method_table() {
    static std::vector<PyMethodDef> table = [] {
        std::vector<PyMethodDef> rows;
        for (const PyMethodDef* part :
             {modelling_functions, function_methods, setting_methods, message_handler_methods,
              environment_methods, conversion_check_methods, library_method_list,
              inspection_methods, formula_inspection_methods}) {
            for (; part->ml_name != nullptr; ++part) rows.push_back(*part);
        }
        rows.push_back(exit_method);
        rows.push_back({});
        return rows;
    }();
    return table.data();
}

void release_types() noexcept {
    if (!std::exchange(types_referenced, false)) return;
    for (const TypeRow& row : kTypes) Py_DECREF(row.type);
}

void release_environment() noexcept {
    Py_CLEAR(qlx_py_env.controls);
    Py_CLEAR(qlx_py_env.default_controls);
    Py_CLEAR(qlx_py_env.ctrl_table);
    Py_CLEAR(qlx_py_env.attr_table);
    Py_CLEAR(qlx_py_env.msghandlers);
    qlx_py_env.deferred_exceptions.clear();
}

// The module's release function, called at the interpreter's end and when start-up failed. Its own
// failures have nobody to receive them, and an exception of the start-up stays pending.
void quilexmod_freeModule(void*) noexcept {
    const PendingException kept;
    release_environment();
    if (restore_numpy_comparisons() != 0) PyErr_WriteUnraisable(nullptr);
    clear_modelling_pools();
    release_types();
    if (turnQLXoff(0) != 0) PyErr_WriteUnraisable(nullptr);
}

PyModuleDef module_definition = {
    PyModuleDef_HEAD_INIT,
    "Quilex",
    "Create, solve, query and handle optimisation problems with the optimizer.",
    -1,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    quilexmod_freeModule,
};

void ready_types() {
    collect_problem_methods();
    for (const TypeRow& row : kTypes) {
        if (row.type->tp_new == nullptr) row.type->tp_new = PyType_GenericNew;
        require_status(PyType_Ready(row.type));
    }
}

LibraryHandles handles_of(PyObject* object) noexcept {
    if (is_problem(object)) {
        const auto* problem = reinterpret_cast<Problem*>(object);
        return {nullptr, problem->prob, problem->slpprob};
    }
    if (!is_branch_object(object)) return {};
    const auto* branch = reinterpret_cast<BranchObject*>(object);
    const auto* problem = reinterpret_cast<Problem*>(branch->problem);
    return {branch->handle, problem == nullptr ? nullptr : problem->prob, nullptr};
}

void create_environment() {
    qlx_py_env.fill_tables = ctrl_attr_fill_typeobj;
    qlx_py_env.handles_of = handles_of;
    qlx_py_env.var_counter = 1;
    qlx_py_env.con_counter = 1;
    qlx_py_env.sos_counter = 1;
    qlx_py_env.controls = ctrl_base(nullptr).release();
    qlx_py_env.default_controls = require(PyDict_New()).release();
    qlx_py_env.ctrl_table = require(PyDict_New()).release();
    qlx_py_env.attr_table = require(PyDict_New()).release();
    qlx_py_env.msghandlers = require(PyList_New(0)).release();
    qlx_py_env.initialised = 0;
    qlx_py_env.nonlinear_state = -1;
}

void add_types(PyObject* module) {
    for (const TypeRow& row : kTypes) Py_INCREF(row.type);
    types_referenced = true;
    for (const TypeRow& row : kTypes) {
        if (row.attribute == nullptr) continue;
        require_status(PyObject_SetAttrString(module, row.attribute, as_object(row.type)));
    }
}

// The release function runs when the interpreter's modules are gone already, which is too late to
// visit the subclasses of numpy's arrays.
void restore_numpy_at_exit(PyObject* module) {
    const Ref atexit = require(PyImport_ImportModule("atexit"));
    const Ref restore = require(PyObject_GetAttrString(module, exit_method.ml_name));
    require(PyObject_CallMethod(atexit.get(), "register", "O", restore.get()));
}

void publish(PyObject* module) {
    add_types(module);
    require_status(install_numpy_comparisons());
    restore_numpy_at_exit(module);
    add_constants(module);
    require_status(PyObject_SetAttrString(module, "controls", qlx_py_env.controls));
}

Ref create_module() {
    ready_types();
    module_definition.m_methods = method_table();
    Ref module = require(PyModule_Create(&module_definition));
    const bool complete = guarded([&] {
        create_environment();
        if (ctrl_attr_fill_typeobj(0) != 0) throw PythonFailure();
        import_numpy();
        publish(module.get());
    });
    if (complete) return module;
    if (!PyErr_Occurred()) {
        PyErr_SetString(PyExc_RuntimeError, "Error initializing the Quilex module");
    }
    throw PythonFailure();
}

}  // namespace

}  // namespace quilex

PyMODINIT_FUNC PyInit_quilexlib() {
    return quilex::Boundary<quilex::create_module>::call();
}

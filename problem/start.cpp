// setStart: where nonlinear solves begin.
#include <qlx/qslp.h>

#include <cmath>
#include <string>

#include "model/containers.hpp"
#include "model/var.hpp"
#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/numpy.hpp"
#include "module/numpy_interface.hpp"
#include "problem/access.hpp"
#include "problem/building.hpp"
#include "problem/transfer/walker.hpp"

namespace quilex {

namespace {

constexpr double kInfinite = 1e20;

// Containers as plain ones: a dict as it is, a list of the items of all others. What is none stays
// what it is, and so do the items.
Ref plain(PyObject* object) {
    if (is_variable(object) || PyFloat_CheckExact(object)) return share(object);
    const Ref array = array_if_offered(object);
    if (PyArray_Check(array.get())) {
        if (has_masked_elements(array.get()))
            raise_runtime_error("Masked elements in an array argument");
        return require(PyObject_CallMethod(array.get(), "tolist", nullptr));
    }
    if (PyDict_Check(object) || !ArgumentWalker::is_container(object)) return share(object);
    return require(PySequence_List(object));
}

bool is_container(const Ref& object) noexcept {
    return PyDict_Check(object.get()) || PyList_Check(object.get());
}

// Collects pairs of a variable and its number from two arguments arranged alike. Runs Python code,
// which may change the problem.
class StartPairs {
  public:
    struct Pair {
        Owned<Variable> variable;
        double value;
    };

    explicit StartPairs(const Problem* problem) noexcept : problem_(problem) {}

    void collect(PyObject* variables, PyObject* values) {
        const Ref numbers = plain(values);
        if (is_container(numbers)) return pair(variables, numbers, kDepthOfVariables);
        const double value = number(numbers.get());
        everywhere(plain(variables), value, kDepthOfVariables);
    }
    // {variable: number}.
    void collect_dict(PyObject* values) {
        PyObject *key, *value;
        Py_ssize_t position = 0;
        const Ref copy = require(PyDict_Copy(values));
        while (PyDict_Next(copy.get(), &position, &key, &value)) {
            const Entered entered(path_, key);
            add(key, number(plain(value).get()));
        }
    }
    const std::vector<Pair>& pairs() const noexcept { return pairs_; }

  private:
    // One step of the way to an item.
    class Entered {
      public:
        Entered(std::vector<Ref>& path, PyObject* key) : path_(path) { path.push_back(share(key)); }
        ~Entered() { path_.pop_back(); }
        Entered(const Entered&) = delete;
        Entered& operator=(const Entered&) = delete;

      private:
        std::vector<Ref>& path_;
    };

    // "variables[2]['a']".
    std::string place(const char* argument) const {
        std::string text = argument;
        for (const Ref& key : path_) {
            const Ref shown = require(PyUnicode_FromFormat("[%R]", key.get()));
            const char* const utf8 = PyUnicode_AsUTF8(shown.get());
            if (utf8 == nullptr) throw PythonFailure();
            text += utf8;
        }
        return text;
    }

    static void require_depth(int depth) {
        if (depth < 0) raise_runtime_error("Maximum recursion (inclusion) level reached");
    }

    void add(PyObject* object, double value) {
        if (!is_variable(object))
            raise_runtime_error("%s is of type %s, must be a variable", place("variables").c_str(),
                                Py_TYPE(object)->tp_name);
        auto* const variable = reinterpret_cast<Variable*>(object);
        if (problem_->var_index.find(variable->index) == IndexMap::kMissing)
            raise_runtime_error("%s has not been added to the problem", place("variables").c_str());
        pairs_.push_back({Owned<Variable>::share(variable), value});
    }

    double number(PyObject* object) const {
        const double value = PyUnicode_Check(object) ? -1.0 : PyFloat_AsDouble(object);
        if (PyErr_Occurred() && !PyErr_ExceptionMatches(PyExc_TypeError)) throw PythonFailure();
        if (PyUnicode_Check(object) || PyErr_Occurred())
            raise_runtime_error("%s is of type %s, must be a number", place("values").c_str(),
                                Py_TYPE(object)->tp_name);
        if (!(std::fabs(value) < kInfinite)) {
            const Ref shown = require(PyFloat_FromDouble(value));
            const Ref text = require(PyObject_Repr(shown.get()));
            raise_runtime_error("%s is %U, must be less than 1e20 in magnitude",
                                place("values").c_str(), text.get());
        }
        return value;
    }

    template <class Action>
    void for_each_item(const Ref& container, Action&& action) {
        if (PyDict_Check(container.get())) {
            const Ref items = require(PyDict_Items(container.get()));
            for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
                PyObject* const item = PyList_GET_ITEM(items.get(), i);
                const Entered entered(path_, PyTuple_GET_ITEM(item, 0));
                action(PyTuple_GET_ITEM(item, 0), PyTuple_GET_ITEM(item, 1));
            }
            return;
        }
        for (Py_ssize_t i = 0; i < PyList_GET_SIZE(container.get()); ++i) {
            const Ref key = require(PyLong_FromSsize_t(i));
            const Entered entered(path_, key.get());
            action(key.get(), PyList_GET_ITEM(container.get(), i));
        }
    }

    void everywhere(const Ref& variables, double value, int depth) {
        require_depth(depth);
        if (!is_container(variables)) return add(variables.get(), value);
        for_each_item(variables, [&](PyObject*, PyObject* item) {
            everywhere(plain(item), value, depth - 1);
        });
    }

    // Both sides have the same arrangement; dicts are matched by their keys.
    void pair(PyObject* given_variables, const Ref& numbers, int depth) {
        require_depth(depth);
        const Ref variables = plain(given_variables);
        if (!is_container(variables) && !is_container(numbers))
            return add(variables.get(), number(numbers.get()));
        require_alike(variables, numbers);
        Py_ssize_t position = 0;
        for_each_item(variables, [&](PyObject* key, PyObject* item) {
            pair(item, plain(matching(numbers, key, position++).get()), depth - 1);
        });
    }

    // The item of `numbers` under a key, or in the place, that an item of `variables` has.
    Ref matching(const Ref& numbers, PyObject* key, Py_ssize_t position) const {
        if (PyList_Check(numbers.get())) return share(PyList_GET_ITEM(numbers.get(), position));
        PyObject* const item = PyDict_GetItemWithError(numbers.get(), key);
        if (item != nullptr) return share(item);
        if (PyErr_Occurred()) throw PythonFailure();
        raise_runtime_error("%s is missing, as variables has it", place("values").c_str());
    }

    void require_alike(const Ref& variables, const Ref& numbers) const {
        if (!is_container(variables))
            raise_runtime_error("%s has several numbers, %s is one variable",
                                place("values").c_str(), place("variables").c_str());
        if (!is_container(numbers))
            raise_runtime_error("%s is one number, %s has several variables",
                                place("values").c_str(), place("variables").c_str());
        // The numbers' keys would have no meaning; a dict of variables has an order, like a list.
        if (PyDict_Check(numbers.get()) && !PyDict_Check(variables.get()))
            raise_runtime_error("%s is a dict, must be none, as %s is none",
                                place("values").c_str(), place("variables").c_str());
        const Py_ssize_t wanted = PyObject_Size(variables.get());
        const Py_ssize_t given = PyObject_Size(numbers.get());
        if (wanted != given)
            raise_runtime_error("%s has %zd items, must have %zd as %s has",
                                place("values").c_str(), given, wanted, place("variables").c_str());
    }

    const Problem* problem_;
    std::vector<Pair> pairs_;
    std::vector<Ref> path_;
};

// All are looked up before the first is set, after the last Python code.
std::vector<int> columns_of(const Problem* problem, const std::vector<StartPairs::Pair>& pairs) {
    std::vector<int> columns;
    columns.reserve(pairs.size());
    for (const StartPairs::Pair& pair : pairs) {
        const int column = problem->var_index.find(pair.variable->index);
        if (column == IndexMap::kMissing)
            raise_runtime_error("A variable left the problem while its start was set");
        columns.push_back(column);
    }
    return columns;
}

Ref problem_setStart(PyObject* self, PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"variables", "values", nullptr};
    PyObject* variables = nullptr;
    PyObject* values = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "O|O:setStart", const_cast<char**>(names),
                                     &variables, &values)) {
        throw PythonFailure();
    }
    if (values == Py_None) values = nullptr;
    if (values == nullptr && !PyDict_Check(variables)) {
        raise_runtime_error("setStart needs variables and values, or one dict {variable: value}");
    }
    Problem* problem = reading(self);
    if (problem->slpprob == nullptr)
        raise_runtime_error("Starts need the nonlinear solver, which is off");
    StartPairs start(problem);
    if (values == nullptr) {
        start.collect_dict(variables);
    } else {
        start.collect(variables, values);
    }
    problem = reading(self);
    const std::vector<int> columns = columns_of(problem, start.pairs());
    for (size_t k = 0; k < columns.size(); ++k) {
        require_library(self, QSLPchgvar(problem->slpprob, columns[k], nullptr, nullptr, nullptr,
                                         nullptr, nullptr, &start.pairs()[k].value, nullptr,
                                         nullptr, nullptr, nullptr, nullptr));
    }
    return none();
}

}  // namespace

PyMethodDef start_methods[] = {
    {"setStart", method<problem_setStart>, METH_VARARGS | METH_KEYWORDS,
     "setStart($self, variables, values=None)\n--\n\n"
     "Set the values that nonlinear solves begin with. Takes variables nested as in addVariable,\n"
     "and one number for all of them or numbers arranged alike (dicts are matched by their\n"
     "keys); or a dict {variable: number} alone. Other variables keep their start; without one a\n"
     "solve begins at 0, or at the bound next to it. RuntimeError, and nothing set, for a shape\n"
     "that does not fit, what is no number, NaN, magnitudes of 1e20 and beyond, and variables\n"
     "that are not in the problem."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex

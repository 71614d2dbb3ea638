// getSolution, getSlack, getDual, getRCost: values one by one, or as nested arguments ask.
#include "problem/results/results.hpp"

#include "bridge/integers.hpp"
#include "model/constraint.hpp"
#include "model/var.hpp"
#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/pending_exception.hpp"
#include "problem/access.hpp"
#include "problem/results/selection.hpp"
#include "problem/transfer/walker.hpp"

namespace quilex {

namespace {

struct KindText {
    const char* failure;      // of the library's getter
    const char* not_in_mips;  // null where integer problems have the values
};
constexpr KindText kTexts[kResultKinds] = {
    {"Could not get solution", nullptr},
    {"Could not get constraints' slack", nullptr},
    {"Could not get dual solution", "Cannot retrieve dual variables in a MIP"},
    {"Could not retrieve reduced costs", "Cannot retrieve reduced cost in a MIP"}};

const KindText& text_of(ResultKind kind) noexcept {
    return kTexts[static_cast<int>(kind)];
}

static_assert(static_cast<int>(ResultKind::kSolution) == QLX_VECTOR_X &&
              static_cast<int>(ResultKind::kSlack) == QLX_VECTOR_SLACK &&
              static_cast<int>(ResultKind::kDual) == QLX_VECTOR_DUAL &&
              static_cast<int>(ResultKind::kReducedCost) == QLX_VECTOR_DJ);

int view(Problem* problem, ResultKind kind, bool integer, std::span<const double>& values) {
    const double* data = nullptr;
    int count = 0;
    const int status =
        QLXviewsol(problem->prob, integer ? 1 : 0, static_cast<int>(kind), &data, &count);
    if (status == 0) values = {data, static_cast<size_t>(count)};
    return status;
}

// The nonlinear solver's getter takes one array per kind; the others are not wanted.
int copy_nonlinear(Problem* problem, ResultKind kind, double* values) {
    double* wanted[kResultKinds] = {};
    wanted[static_cast<int>(kind)] = values;
    return QSLPgetslpsol(problem->slpprob, wanted[QLX_VECTOR_X], wanted[QLX_VECTOR_SLACK],
                         wanted[QLX_VECTOR_DUAL], wanted[QLX_VECTOR_DJ]);
}

// The kind's own message, followed by the library's.
[[noreturn]] void raise_no_result(Problem* problem, ResultKind kind) {
    set_library_error(as_object(problem));
    const Ref exception = take_exception();
    raise_runtime_error("%s: %S", text_of(kind).failure, exception.get());
}

int nonlinear_result_length(Problem* problem, ResultKind kind) {
    int length = 0;
    const int attribute = is_by_column(kind) ? QSLP_ATTRIB_COLS : QSLP_ATTRIB_ROWS;
    require_library(as_object(problem), QSLPgetintattrib(problem->slpprob, attribute, &length));
    return length;
}

}  // namespace

bool is_integer_problem(Problem* problem) {
    int entities = 0;
    int sets = 0;
    PyObject* const self = as_object(problem);
    require_library(self, QLXgetintattrib(problem->prob, QLX_ATTRIB_MIPENTS, &entities));
    require_library(self, QLXgetintattrib(problem->prob, QLX_ATTRIB_SETS, &sets));
    return entities != 0 || sets != 0;
}

std::span<const double> result_vector(Problem* problem, ResultKind kind) {
    Results& results = *problem->results;
    const auto slot = static_cast<size_t>(kind);
    std::span<const double>& values = results.values[slot];
    if (results.valid[slot]) return values;
    int status = 0;
    if (is_linear_or_quadratic(problem)) {
        const bool integer = is_integer_problem(problem);
        if (integer && text_of(kind).not_in_mips != nullptr) {
            raise_runtime_error("%s", text_of(kind).not_in_mips);
        }
        status = view(problem, kind, integer, values);
    } else {
        std::vector<double>& copy = results.copies[slot];
        copy.resize(static_cast<size_t>(nonlinear_result_length(problem, kind)));
        status = copy_nonlinear(problem, kind, copy.data());
        values = copy;
    }
    if (status != 0) raise_no_result(problem, kind);
    // While a solve runs (in a callback) the values may be others at the next look.
    results.valid[slot] = problem->solving_thread == 0;
    return values;
}

namespace {

[[noreturn]] void raise_wrong_object() {
    raise_runtime_error("Incorrect object(s) passed: need index, variable, constraint, or SOS");
}

// The position in the result vector that an object or index stands for.
size_t result_position(const Problem* problem, PyObject* object, size_t length) {
    bool known = false;
    int64_t index = index_in_problem(problem, object, &known);
    if (known && index == IndexMap::kMissing) {
        raise_runtime_error("Object %S is not in the problem", object);
    }
    if (!known) {
        if (!is_index(object)) raise_wrong_object();
        index = int64_value(object);
    }
    if (index < 0 || static_cast<size_t>(index) >= length) {
        raise_runtime_error("Index %lld is out of range: there are %zu values",
                            static_cast<long long>(index), length);
    }
    return static_cast<size_t>(index);
}

class ResultWalker final : public ArgumentWalker {
  public:
    ResultWalker(Problem* problem, ResultKind kind)
        : ArgumentWalker(kDepthOfVariables),
          problem_(problem),
          kind_(kind),
          list_(require(PyList_New(0))) {}
    Ref take() noexcept { return std::move(list_); }

  private:
    void leaf(PyObject* object) override {
        const std::span<const double> values = result_vector(problem_, kind_);
        const double value = values[result_position(problem_, object, values.size())];
        const Ref item = problem_->results->floats.make(value);
        require_status(PyList_Append(list_.get(), item.get()));
    }
    bool is_plain_leaf(PyTypeObject* type) const noexcept override {
        return type == &var_type || type == &constraint_type;
    }

    Problem* problem_;
    ResultKind kind_;
    Ref list_;
};

Ref all_values(Problem* problem, ResultKind kind) {
    // A new list may run the collector, and that any code: the view is taken afterwards.
    Ref list = require(PyList_New(static_cast<Py_ssize_t>(result_vector(problem, kind).size())));
    const std::span<const double> values = result_vector(problem, kind);
    if (static_cast<Py_ssize_t>(values.size()) != PyList_GET_SIZE(list.get())) {
        raise_runtime_error("The problem changed while its results were read");
    }
    for (size_t i = 0; i < values.size(); ++i) {
        PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i),
                        problem->results->floats.make(values[i]).release());
    }
    return list;
}

// The value of an object of exactly the kind's own type, when it is at hand; else empty.
template <ResultKind Kind>
Ref value_at_hand(const Problem* problem, PyObject* object) {
    Results& results = *problem->results;
    if (!results.valid[static_cast<int>(Kind)]) return Ref();
    int index = IndexMap::kMissing;
    if constexpr (is_by_column(Kind)) {
        if (Py_TYPE(object) != &var_type) return Ref();
        index = problem->var_index.find(reinterpret_cast<Variable*>(object)->index);
    } else {
        if (Py_TYPE(object) != &constraint_type) return Ref();
        index = problem->con_index.find(reinterpret_cast<Constraint*>(object)->index);
    }
    const std::span<const double> values = results.values[static_cast<int>(Kind)];
    if (static_cast<size_t>(index) >= values.size()) return Ref();
    return results.floats.make(values[static_cast<size_t>(index)]);
}

template <ResultKind Kind>
Ref result_method(PyObject* self, PyObject* const* arguments, Py_ssize_t count) {
    Problem* const problem = reading(self);
    if (count == 1) {
        Ref value = value_at_hand<Kind>(problem, arguments[0]);
        if (value) return value;
    }
    // Refused here where there is no solution, before any argument is looked at.
    const std::span<const double> values = result_vector(problem, Kind);
    if (count == 0) return all_values(problem, Kind);
    if (count == 1 && !ArgumentWalker::is_container(arguments[0])) {
        return problem->results->floats.make(
            values[result_position(problem, arguments[0], values.size())]);
    }
    ResultWalker walker(problem, Kind);
    walker.walk(arguments, count);
    return walker.take();
}

}  // namespace

PyMethodDef result_methods[] = {
    {"getSolution", method<result_method<ResultKind::kSolution>>, METH_FASTCALL,
     "getSolution($self, *variables)\n--\n\n"
     "Values in the solution of the last solve: a float for one variable or column index, a flat\n"
     "list in walking order for nested lists, tuples, dicts (their values), iterators or arrays,\n"
     "a list of all without arguments. RuntimeError when there is no solution."},
    {"getSlack", method<result_method<ResultKind::kSlack>>, METH_FASTCALL,
     "getSlack($self, *constraints)\n--\n\n"
     "Slacks of constraints or row indices (right-hand side minus activity), as in getSolution."},
    {"getDual", method<result_method<ResultKind::kDual>>, METH_FASTCALL,
     "getDual($self, *constraints)\n--\n\n"
     "Duals of constraints or row indices (change of the optimum per unit of right-hand side), as\n"
     "in getSolution. Integer problems have none."},
    {"getRCost", method<result_method<ResultKind::kReducedCost>>, METH_FASTCALL,
     "getRCost($self, *variables)\n--\n\n"
     "Reduced costs of variables or column indices, as in getSolution. Integer problems have\n"
     "none."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex

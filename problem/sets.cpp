// addSOS: special ordered sets.
#include "bridge/integers.hpp"
#include "model/sos.hpp"
#include "model/var.hpp"
#include "module/library_error.hpp"
#include "module/numbers.hpp"
#include "module/pending_exception.hpp"
#include "problem/access.hpp"
#include "problem/building.hpp"
#include "problem/object_list.hpp"
#include "problem/transfer/name_batch.hpp"
#include "problem/transfer/walker.hpp"

namespace quilex {

namespace {

struct Members {
    std::vector<int> columns;
    std::vector<double> weights;
};

int member_column(const Problem* problem, PyObject* member) {
    if (is_variable(member)) {
        const int column = problem->var_index.find(reinterpret_cast<Variable*>(member)->index);
        if (column == IndexMap::kMissing) {
            raise_runtime_error("SOS contains variable that was not added to the problem");
        }
        return column;
    }
    if (!is_index(member)) raise_runtime_error("SOS indices must be passed as a list");
    const int64_t column = int64_value(member);
    const int count = problem->variables.size();
    if (column < 0 || column >= count) {
        raise_runtime_error("SOS contains column %lld, but the problem has %d columns",
                            static_cast<long long>(column), count);
    }
    return static_cast<int>(column);
}

// The weights as numbers. They may run any Python code on the way.
std::vector<double> weights_of(const SpecialOrderedSet* set) {
    std::vector<double> weights;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(set->weights); ++i) {
        const Ref weight = Ref::share(PyList_GET_ITEM(set->weights, i));
        weights.push_back(double_value(weight.get(), "A weight of a SOS"));
    }
    return weights;
}

// Columns and weights of a set; without weights the members count 1, 2, 3, ...
Members members_of(const Problem* problem, const SpecialOrderedSet* set,
                   std::vector<double> weights) {
    const Py_ssize_t count = PyList_GET_SIZE(set->indices);
    const auto weight_count = static_cast<Py_ssize_t>(weights.size());
    if (weight_count != 0 && weight_count != count) {
        raise_runtime_error("SOS %S has %zd weights for %zd members", set->name, weight_count,
                            count);
    }
    Members members;
    for (Py_ssize_t i = 0; i < count; ++i) {
        members.columns.push_back(member_column(problem, PyList_GET_ITEM(set->indices, i)));
        if (weight_count == 0) weights.push_back(static_cast<double>(i + 1));
    }
    members.weights = std::move(weights);
    return members;
}

int add_to_library(QLXprob prob, const Members& members, char type, const NameBatch& names,
                   int index) {
    const auto count = static_cast<int64_t>(members.columns.size());
    const int64_t starts[] = {0, count};
    const int status =
        QLXaddsets64(prob, 1, count, &type, starts, members.columns.data(), members.weights.data());
    if (status != 0) return status;
    return names.send(prob, QLX_NAMES_SET, index);
}

// Takes the set with this index out again, as far as it is there; the pending exception stays.
void take_back(Problem* problem, int index) noexcept {
    const PendingException kept;
    int count = 0;
    QLXgetintattrib(problem->prob, QLX_ATTRIB_SETMEMBERS_SETS, &count);
    if (count > index) QLXdelsets(problem->prob, 1, &index);
    problem->sos.truncate(index);
}

void require_new(const Problem* problem, const SpecialOrderedSet* set) {
    if (problem->sos_index.find(set->index) != IndexMap::kMissing) {
        raise_runtime_error("SOS already added to problem");
    }
}

void add_set(Problem* problem, PyObject* object) {
    if (!is_special_ordered_set(object)) raise_runtime_error("Object added is not a SOS");
    auto* const set = reinterpret_cast<SpecialOrderedSet*>(object);
    if (set->indices == nullptr || set->weights == nullptr) {
        raise_runtime_error("The SOS has no members: it was not initialised");
    }
    require_new(problem, set);
    std::vector<double> weights = weights_of(set);
    reading(as_object(problem));
    require_new(problem, set);
    const Members members = members_of(problem, set, std::move(weights));
    NameBatch names;
    names.add_name(set->name, "SOS", PY_SSIZE_T_MAX);
    int index = 0;
    require_library(as_object(problem),
                    QLXgetintattrib(problem->prob, QLX_ATTRIB_SETMEMBERS_SETS, &index));
    problem->sos_index.insert(set->index, index);
    try {
        problem->sos.append(object);
        if (add_to_library(problem->prob, members, set->type == 2 ? '2' : '1', names, index) != 0) {
            set_library_error(as_object(problem));
            take_back(problem, index);
            throw PythonFailure();
        }
    } catch (...) {
        problem->sos_index.erase_serial(set->index);
        throw;
    }
}

class SetWalker final : public ArgumentWalker {
  public:
    explicit SetWalker(Problem* problem) noexcept
        : ArgumentWalker(kDepthOfVariables), problem_(problem) {}

  private:
    void leaf(PyObject* object) override { add_set(problem_, object); }
    bool is_plain_leaf(PyTypeObject* type) const noexcept override { return type == &sos_type; }

    Problem* problem_;
};

}  // namespace

Ref problem_addSOS(PyObject* self, PyObject* const* arguments, Py_ssize_t count) {
    SetWalker(changing(self)).walk(arguments, count);
    return none();
}

}  // namespace quilex

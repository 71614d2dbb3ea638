// The pending batch of columns.
#include "problem/transfer/column_batch.hpp"

#include <algorithm>
#include <cmath>

#include "module/library_error.hpp"
#include "module/pending_exception.hpp"
#include "problem/number_text.hpp"
#include "problem/object_list.hpp"
#include "problem/transfer/append.hpp"

namespace quilex {

namespace {

constexpr Py_ssize_t kLongestColumnName = 150;
// An integer variable whose bounds lie within [0, this] is a binary column.
constexpr double kLargestBinaryBound = 1.1;

char column_type(const Domain& domain) {
    switch (domain.vartype) {
        case kContinuous:
            return 'C';
        case kBinary:
            return 'B';
        case kInteger:
            return domain.lb >= 0.0 && domain.ub <= kLargestBinaryBound ? 'B' : 'I';
        case kSemiContinuous:
            return 'S';
        case kSemiInteger:
            return 'R';
        case kPartiallyInteger:
            return 'P';
        default:
            raise_runtime_error("Incorrect variable type passed to addVariable()");
    }
}

bool has_limit(char type) noexcept {
    return type == 'S' || type == 'R' || type == 'P';
}

void require_sound_bounds(const Variable* variable, char type) {
    const Domain& domain = *variable->domain;
    // The library cuts the bounds of a binary column to [0, 1].
    const double lower = type == 'B' ? std::max(domain.lb, 0.0) : domain.lb;
    const double upper = type == 'B' ? std::min(domain.ub, 1.0) : domain.ub;
    if (!(domain.lb <= domain.ub && lower <= upper && lower < kInfinity && upper > -kInfinity)) {
        const Ref name = variable_name(variable);
        raise_runtime_error(
            "Invalid bounds of %svariable %S: lower bound %s, upper bound %s; the lower bound must "
            "be at most the upper bound, and each on its own side of infinity",
            type == 'B' ? "binary " : "", name.get(), number_text(domain.lb).c_str(),
            number_text(domain.ub).c_str());
    }
    if (has_limit(type) && !(domain.threshold >= domain.lb && domain.threshold <= domain.ub)) {
        raise_runtime_error(
            "Incorrect semi-continuous, semi-integer, or partially integer variable; check that "
            "its threshold is between its lower and upper bounds");
    }
    if (has_limit(type) && !(std::fabs(domain.threshold) < kInfinity)) {
        const Ref name = variable_name(variable);
        raise_runtime_error(
            "Invalid threshold of variable %S: %s, must be less than 1e20 in magnitude", name.get(),
            number_text(domain.threshold).c_str());
    }
}

}  // namespace

void ColumnBatch::append_column(const Variable* variable, char type) {
    const Domain& domain = *variable->domain;
    lower_.push_back(domain.lb);
    upper_.push_back(domain.ub);
    types_.push_back(type);
    if (has_limit(type)) {
        limits_.push_back(domain.threshold);
        limited_.push_back(base_ + column_count() - 1);
    }
    if (domain.name == nullptr) {
        names_.add_number(variable->index);
    } else {
        names_.add_name(domain.name, "variable", kLongestColumnName);
    }
}

void ColumnBatch::rewind(const Mark& mark) noexcept {
    types_.resize(mark.columns);
    lower_.resize(mark.columns);
    upper_.resize(mark.columns);
    limited_.resize(mark.limited);
    limits_.resize(mark.limited);
    names_.rewind(mark.names);
}

void ColumnBatch::clear() noexcept {
    rewind({});
    added_ = false;
}

void ColumnBatch::collect(Problem* problem, PyObject* object) {
    if (!is_variable(object)) {
        raise_runtime_error("Incorrect objects added as variables to problem");
    }
    auto* const variable = reinterpret_cast<Variable*>(object);
    if (problem->var_index.find(variable->index) != IndexMap::kMissing) {
        raise_runtime_error("Variable already added to problem");
    }
    const char type = column_type(*variable->domain);
    require_sound_bounds(variable, type);
    if (PyObject* const name = variable->domain->name) {
        require_variable_name(name);
        require_valid_name(name, "variable");
    }
    if (empty()) {
        all_continuous_ = true;
        require_library(as_object(problem),
                        QLXgetintattrib(problem->prob, QLX_ATTRIB_COLS, &base_));
    }
    Append append(*this);
    append_column(variable, type);
    problem->variables.make_room();
    problem->var_index.insert(variable->index, base_ + column_count() - 1);
    problem->variables.append(object);
    append.keep();
    if (type != 'C') all_continuous_ = false;
    problem->has_pending = true;
}

int ColumnBatch::hand_over(QLXprob prob) {
    const int count = column_count();
    const std::vector<int> columns =
        all_continuous_ ? std::vector<int>() : index_range(base_, count);
    int status = QLXaddcols64(prob, count, 0, nullptr, nullptr, nullptr, nullptr, lower_.data(),
                              upper_.data());
    if (status != 0) return status;
    added_ = true;
    if (!all_continuous_) status = QLXchgcoltype(prob, count, columns.data(), types_.data());
    if (status == 0) status = names_.send(prob, QLX_NAMES_COLUMN, base_);
    if (status == 0 && !limited_.empty()) {
        status = QLXchgglblimit(prob, static_cast<int>(limited_.size()), limited_.data(),
                                limits_.data());
    }
    return status;
}

void ColumnBatch::send(Problem* problem) {
    if (empty()) return;
    if (hand_over(problem->prob) != 0) raise_library_error(as_object(problem));
    clear();
}

void ColumnBatch::take_back(Problem* problem) noexcept {
    if (empty()) return;
    const PendingException kept;
    const int count = column_count();
    const int first = problem->variables.size() - count;
    for (int i = 0; i < count; ++i) {
        problem->var_index.erase_serial(
            reinterpret_cast<Variable*>(problem->variables[first + i])->index);
    }
    // One by one, so that no memory is needed.
    for (int column = base_ + count; added_ && column-- > base_;) {
        QLXdelcols(problem->prob, 1, &column);
    }
    clear();
    problem->variables.truncate(first);
}

}  // namespace quilex

// Merging, evaluating and differentiating quadratic terms.
#include "engine/data/quadratic_form.hpp"

#include <algorithm>

namespace qlx {

namespace {

bool before(const QuadraticTerm& a, const QuadraticTerm& b) {
    return a.first != b.first ? a.first < b.first : a.second < b.second;
}

std::vector<QuadraticTerm> collect(std::int64_t count, const int* col1, const int* col2,
                                   const double* values) {
    std::vector<QuadraticTerm> terms(static_cast<std::size_t>(count));
    for (std::size_t k = 0; k < terms.size(); ++k)
        terms[k] = {std::min(col1[k], col2[k]), std::max(col1[k], col2[k]), values[k]};
    if (!std::is_sorted(terms.begin(), terms.end(), before))
        std::stable_sort(terms.begin(), terms.end(), before);
    std::size_t kept = 0;
    for (std::size_t k = 0; k < terms.size(); ++k) {
        if (kept > 0 && !before(terms[kept - 1], terms[k]))
            terms[kept - 1].coefficient += terms[k].coefficient;
        else
            terms[kept++] = terms[k];
    }
    terms.resize(kept);
    return terms;
}

}  // namespace

double QuadraticForm::at(int col1, int col2) const {
    const QuadraticTerm key{std::min(col1, col2), std::max(col1, col2), 0};
    const auto found = std::lower_bound(terms_.begin(), terms_.end(), key, before);
    return found == terms_.end() || before(key, *found) ? 0.0 : found->coefficient;
}

void QuadraticForm::merge(const std::vector<QuadraticTerm>& given, bool replace) {
    std::vector<QuadraticTerm> merged;
    merged.reserve(terms_.size() + given.size());
    auto old = terms_.begin();
    for (const QuadraticTerm& term : given) {
        while (old != terms_.end() && before(*old, term)) merged.push_back(*old++);
        QuadraticTerm sum = term;
        if (old != terms_.end() && !before(term, *old)) {
            if (!replace) sum.coefficient += old->coefficient;
            ++old;
        }
        if (sum.coefficient != 0) merged.push_back(sum);
    }
    merged.insert(merged.end(), old, terms_.end());
    terms_.swap(merged);
}

void QuadraticForm::add(std::int64_t count, const int* col1, const int* col2,
                        const double* values) {
    merge(collect(count, col1, col2, values), false);
}

void QuadraticForm::set(std::int64_t count, const int* col1, const int* col2,
                        const double* values) {
    merge(collect(count, col1, col2, values), true);
}

void QuadraticForm::delete_columns(const std::vector<int>& new_index) {
    std::size_t kept = 0;
    for (const QuadraticTerm& term : terms_) {
        const int first = new_index[static_cast<std::size_t>(term.first)];
        const int second = new_index[static_cast<std::size_t>(term.second)];
        if (first >= 0 && second >= 0) terms_[kept++] = {first, second, term.coefficient};
    }
    terms_.resize(kept);
}

double QuadraticForm::value(const double* x) const noexcept {
    double sum = 0;
    for (const QuadraticTerm& term : terms_)
        sum += term.coefficient * x[term.first] * x[term.second];
    return sum;
}

void QuadraticForm::add_gradient(const double* x, double factor, double* gradient) const noexcept {
    for (const QuadraticTerm& term : terms_) {
        gradient[term.first] += factor * term.coefficient * x[term.second];
        gradient[term.second] += factor * term.coefficient * x[term.first];
    }
}

}  // namespace qlx

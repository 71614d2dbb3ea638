// Cholesky factorisation by columns, left-looking, with pivots that may vanish.
#include "engine/quad/semidefinite_factor.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/quad/sparse_factor.hpp"

namespace qlx::quad {

namespace {

// Of a pivot over its diagonal entry: below, it is a rounding error.
constexpr double kNoise = 1e-12;

class Elimination {
  public:
    explicit Elimination(const SparseColumns& upper);
    SemidefiniteFactor run();

  private:
    void gather(int place);
    void append(int place, double pivot);
    void enqueue(int row);

    const SparseColumns& upper_;
    const std::vector<int> column_at_;
    SparseColumns lower_;  // the matrix by columns below its diagonal, both in order of elimination
    std::vector<double> diagonal_;
    SparseColumns rows_;           // F' with places for columns
    std::vector<int> next_entry_;  // of each row of F: its first entry not passed yet
    std::vector<int> waiting_;     // rows of F whose next entry is in a column
    std::vector<int> next_waiting_;
    std::vector<double> work_;
    std::vector<char> used_;
    std::vector<int> support_;
    SemidefiniteFactor out_;
};

Elimination::Elimination(const SparseColumns& upper)
    : upper_(upper),
      column_at_(minimum_degree(upper)),
      diagonal_(at(upper.columns), 0.0),
      waiting_(at(upper.columns), -1),
      work_(at(upper.columns), 0.0),
      used_(at(upper.columns), 0) {
    std::vector<int> place(at(upper.columns));
    for (int p = 0; p < upper.columns; ++p) place[at(column_at_[at(p)])] = p;
    std::vector<Triplet> entries;
    for (int j = 0; j < upper.columns; ++j) {
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            const int a = place[at(j)];
            const int b = place[at(upper.index[at(k)])];
            if (a == b) diagonal_[at(a)] = upper.value[at(k)];
            entries.push_back({std::max(a, b), std::min(a, b), upper.value[at(k)]});
        }
    }
    lower_ = compress(upper.columns, upper.columns, entries);
}

// What is left of a column once the rows before are taken off.
void Elimination::gather(int place) {
    support_.clear();
    auto add = [this](int i, double value) {
        if (!used_[at(i)]) {
            used_[at(i)] = 1;
            work_[at(i)] = 0.0;
            support_.push_back(i);
        }
        work_[at(i)] += value;
    };
    for (int k = lower_.start[at(place)]; k < lower_.start[at(place) + 1]; ++k) {
        add(lower_.index[at(k)], lower_.value[at(k)]);
    }
    for (int row = waiting_[at(place)]; row >= 0;) {
        const int following = next_waiting_[at(row)];
        const int first = next_entry_[at(row)]++;
        const double factor = rows_.value[at(first)];
        for (int k = first; k < rows_.start[at(row) + 1]; ++k) {
            add(rows_.index[at(k)], -factor * rows_.value[at(k)]);
        }
        enqueue(row);
        row = following;
    }
    for (const int i : support_) used_[at(i)] = 0;
    std::sort(support_.begin(), support_.end());
}

void Elimination::enqueue(int row) {
    const int entry = next_entry_[at(row)];
    if (entry == rows_.start[at(row) + 1]) return;
    const std::size_t column = at(rows_.index[at(entry)]);
    next_waiting_[at(row)] = waiting_[column];
    waiting_[column] = row;
}

void Elimination::append(int place, double pivot) {
    const double root = std::sqrt(pivot);
    for (const int i : support_) {
        if (i != place && work_[at(i)] == 0.0) continue;
        rows_.index.push_back(i);
        rows_.value.push_back(i == place ? root : work_[at(i)] / root);
    }
    next_entry_.push_back(rows_.start.back() + 1);
    next_waiting_.push_back(-1);
    rows_.start.push_back(static_cast<int>(rows_.index.size()));
    out_.pivot.push_back(column_at_[at(place)]);
    out_.pivot_value.push_back(root);
    enqueue(rows_.columns++);
}

SemidefiniteFactor Elimination::run() {
    for (int p = 0; p < upper_.columns; ++p) {
        gather(p);
        if (support_.empty() || support_.front() != p || !(diagonal_[at(p)] > 0.0)) continue;
        const double pivot = work_[at(p)];
        double coupling = 0.0;  // what the pivot has to be at least, for the others' sake
        for (const int i : support_) {
            if (i == p || !(diagonal_[at(i)] > 0.0)) continue;
            coupling = std::max(coupling, work_[at(i)] * (work_[at(i)] / diagonal_[at(i)]));
        }
        const double noise = kNoise * diagonal_[at(p)];
        if (pivot > noise) {
            append(p, pivot);
        } else if (coupling > noise) {
            append(p, coupling);
        }
    }
    rows_.rows = upper_.columns;
    for (int& i : rows_.index) i = column_at_[at(i)];
    out_.by_row = std::move(rows_);
    return std::move(out_);
}

}  // namespace

std::vector<double> SemidefiniteFactor::complete_square(std::span<const double> linear,
                                                        std::vector<double>& rest) const {
    rest.assign(linear.begin(), linear.end());
    std::vector<double> w(pivot.size());
    for (std::size_t r = 0; r < pivot.size(); ++r) {
        w[r] = -rest[at(pivot[r])] / pivot_value[r];
        for (int k = by_row.start[r]; k < by_row.start[r + 1]; ++k) {
            rest[at(by_row.index[at(k)])] += by_row.value[at(k)] * w[r];
        }
        rest[at(pivot[r])] = 0.0;
    }
    return w;
}

SemidefiniteFactor factor_semidefinite(const SparseColumns& upper) {
    return Elimination(upper).run();
}

}  // namespace qlx::quad

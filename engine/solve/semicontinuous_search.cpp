// Branch and bound over semi-continuous columns that no binary can switch: such a column is 0 or
// within its range, its relaxation lies between. Each node is a problem of its own, solved whole.
#include "engine/solve/semicontinuous_search.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <optional>

#include "engine/solve/cutoff.hpp"
#include "engine/solve/semicontinuous_node.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_scope.hpp"

namespace qlx {

namespace {

constexpr double kUnbounded = std::numeric_limits<double>::infinity();

struct Node {
    double bound = -kUnbounded;  // of the objective as minimised
    std::vector<Decision> path;
};

bool is_worse(const Node& a, const Node& b) {
    return a.bound > b.bound;
}

// Dives to the likelier child until a node is closed, then goes on where the bound is best.
class Search final : public KernelWatch {
  public:
    Search(Problem& problem, const SolveScope& scope, const char* flags,
           const std::vector<SemicontinuousColumn>& columns)
        : KernelWatch(problem),
          scope_(scope),
          flags_(flags),
          columns_(columns),
          results_(problem.results),
          sense_(problem.model.sense()),
          node_(problem, columns, *this) {}

    int run() {
        std::optional<Node> next = Node{};
        while (next && !is_unbounded()) {
            if (is_closed(next->bound)) {
                close(next->bound);
                next = best_open();
                continue;
            }
            results_.stop_status = reason_to_stop();
            if (results_.stop_status == QLX_STOP_NONE)
                next = explore(std::move(*next));
            else
                keep(std::move(*next));
            if (results_.stop_status != QLX_STOP_NONE) break;
            if (!next) next = best_open();
        }
        return conclude();
    }

    // The events of a node's solve.
    bool stop() noexcept override { return KernelWatch::stop() || is_unbounded(); }
    void progress(const KernelProgress& of_node) noexcept override {
        KernelProgress whole;
        whole.seconds = scope_.seconds();
        whole.tree = true;
        whole.nodes = results_.nodes + of_node.nodes;
        whole.best_solution = results_.mip.valid ? results_.mip.objective : kUnbounded;
        const double of_kernel =
            of_node.tree && !seeking_ ? sense_ * of_node.best_bound : -kUnbounded;
        whole.best_bound = sense_ * open_bound(std::max(current_bound_, of_kernel));
        KernelWatch::progress(whole);
    }
    void solution(const double* x, int num_cols) noexcept override {
        if (num_cols < problem_.model.num_cols()) return;
        try {
            offer(x);
        } catch (const std::bad_alloc&) {
            problem_.interrupt(QLX_STOP_USER);
        }
    }

  private:
    [[nodiscard]] bool is_unbounded() const noexcept { return seeking_ && has_point_; }
    [[nodiscard]] double incumbent() const noexcept {
        return results_.mip.valid ? sense_ * results_.mip.objective : kUnbounded;
    }
    [[nodiscard]] double asked_cutoff() const noexcept {
        return has_cutoff(problem_) && !seeking_ ? sense_ * problem_.controls.mipabscutoff
                                                 : kUnbounded;
    }
    [[nodiscard]] double cutoff() const noexcept { return std::min(incumbent(), asked_cutoff()); }
    // Whether nothing that is better by more than the gap can be below a node.
    [[nodiscard]] bool is_closed(double bound) const noexcept {
        if (bound >= asked_cutoff()) return true;
        if (!results_.mip.valid) return false;
        const Controls& controls = problem_.controls;
        const double gap =
            std::max(controls.mipabsgap, controls.miprelgap * std::fabs(incumbent()));
        return bound >= incumbent() - gap;
    }
    void close(double bound) noexcept { closed_bound_ = std::min(closed_bound_, bound); }
    [[nodiscard]] double open_bound(double of_current) const noexcept {
        return open_.empty() ? of_current : std::min(of_current, open_.front().bound);
    }

    void keep(Node node) {
        open_.push_back(std::move(node));
        std::push_heap(open_.begin(), open_.end(), is_worse);
    }
    std::optional<Node> best_open() {
        if (open_.empty()) return std::nullopt;
        std::pop_heap(open_.begin(), open_.end(), is_worse);
        Node node = std::move(open_.back());
        open_.pop_back();
        if (!is_closed(node.bound)) return node;
        close(node.bound);  // and with it all others, whose bounds are no better
        open_.clear();
        return std::nullopt;
    }

    int reason_to_stop() noexcept {
        if (KernelWatch::stop())
            return problem_.stop_reason() != 0 ? problem_.stop_reason() : QLX_STOP_USER;
        if (problem_.controls.lpiterlimit == 0) return QLX_STOP_ITERLIMIT;
        if (scope_.seconds_left() <= 0) return QLX_STOP_TIMELIMIT;
        return results_.nodes >= problem_.controls.nodelimit ? QLX_STOP_NODELIMIT : QLX_STOP_NONE;
    }

    // True when the point is one of the whole problem, whether or not it beats the cutoff.
    bool offer(const double* x) {
        if (problem_.stop_reason() == QLX_STOP_SOLLIMIT) return false;
        if (!take_integer_point(problem_, x)) return false;
        has_point_ = true;
        if (results_.solutions_found >= problem_.controls.sollimit)
            problem_.interrupt(QLX_STOP_SOLLIMIT);
        return true;
    }

    const Results& solve(const Node& node) {
        node_.decide(node.path);
        Controls& controls = node_.controls();
        controls.timelimit = scope_.seconds_left();
        controls.nodelimit = problem_.controls.nodelimit - static_cast<int>(results_.nodes);
        controls.mipabscutoff = sense_ * std::min(cutoff(), kInfinity);
        current_bound_ = node.bound;
        const Results& found = node_.solve(flags_);
        results_.nodes += std::max<std::int64_t>(found.nodes, 1);
        results_.simplex_iterations += found.simplex_iterations;
        results_.barrier_iterations += found.barrier_iterations;
        results_.first_order_iterations += found.first_order_iterations;
        return found;
    }

    // Solves a node; the child to dive into, if any.
    std::optional<Node> explore(Node node) {
        const double better_than = cutoff();
        const Results& found = solve(node);
        progress({});
        if (std::isfinite(found.best_bound))
            node.bound = std::max(node.bound, sense_ * found.best_bound);
        switch (found.mip_status) {
            case QLX_MIP_INFEAS:
                close(better_than);
                return std::nullopt;
            case QLX_MIP_UNBOUNDED:
                if (!seeking_) return seek_point();
                return branch_anywhere(std::move(node));
            case QLX_MIP_OPTIMAL:
                return take(std::move(node), found.mip.x);
            default:
                break;
        }
        if (found.mip.valid) offer(found.mip.x.data());
        if (found.stop_status == QLX_STOP_NONE) return branch_anywhere(std::move(node));
        results_.stop_status =
            problem_.stop_reason() != 0 ? problem_.stop_reason() : found.stop_status;
        keep(std::move(node));
        return std::nullopt;
    }

    // The relaxation goes on for ever in a direction that improves the objective. Far enough along
    // it from any point of the whole problem every column is within its range, or as it was: the
    // problem is unbounded if it has a point, whatever its objective.
    std::optional<Node> seek_point() {
        seeking_ = true;
        undecided_ = false;
        node_.forget_objective();
        open_.clear();
        return Node{};
    }

    std::optional<Node> take(Node node, const std::vector<double>& x) {
        if (const auto place = between(x, problem_.controls.feastol))
            return offer_and_branch(std::move(node), *place, x);
        if (offer(x.data()) || is_closed(node.bound)) {
            close(node.bound);
            return std::nullopt;
        }
        if (problem_.stop_reason() == 0) return branch_anywhere(std::move(node));
        keep(std::move(node));
        return std::nullopt;
    }

    // The undecided column that is farthest from both 0 and its range.
    [[nodiscard]] std::optional<std::size_t> between(const std::vector<double>& x,
                                                     double tolerance) const {
        std::optional<std::size_t> found;
        double worst = 0;
        for (std::size_t place = 0; place < columns_.size(); ++place) {
            if (node_.choice(place) != Choice::kRelaxed) continue;
            const double near = columns_[place].near();
            const double value = x[static_cast<std::size_t>(columns_[place].col)];
            const double share = value / near;
            const double away = std::min(share, 1 - share);
            if (away * std::fabs(near) <= tolerance || away <= worst) continue;
            worst = away;
            found = place;
        }
        return found;
    }

    std::optional<Node> offer_and_branch(Node node, std::size_t place,
                                         const std::vector<double>& x) {
        offer(x.data());  // what is between by little more than the tolerance may still pass
        if (is_closed(node.bound)) {
            close(node.bound);
            return std::nullopt;
        }
        const SemicontinuousColumn& column = columns_[place];
        const double share = x[static_cast<std::size_t>(column.col)] / column.near();
        return branch(std::move(node), place, share < 0.5 ? Choice::kZero : Choice::kInRange);
    }

    // A node without an answer that stands the check: its children may be easier.
    std::optional<Node> branch_anywhere(Node node) {
        for (std::size_t place = 0; place < columns_.size(); ++place)
            if (node_.choice(place) == Choice::kRelaxed)
                return branch(std::move(node), place, Choice::kInRange);
        undecided_ = true;
        close(node.bound);
        return std::nullopt;
    }

    std::optional<Node> branch(Node node, std::size_t place, Choice first) {
        Node other = node;
        other.path.push_back({place, first == Choice::kZero ? Choice::kInRange : Choice::kZero});
        keep(std::move(other));
        node.path.push_back({place, first});
        return node;
    }

    int conclude() {
        if (is_unbounded()) {
            results_.stop_status = QLX_STOP_NONE;
            results_.mip = {};
            results_.solutions_found = 0;
            return QLX_MIP_UNBOUNDED;
        }
        for (const Node& node : open_) close(node.bound);
        if (!seeking_) results_.best_bound = sense_ * std::min(closed_bound_, incumbent());
        if (results_.stop_status != QLX_STOP_NONE || undecided_)
            return results_.mip.valid ? QLX_MIP_SOLUTION : QLX_MIP_NO_SOL_FOUND;
        return results_.mip.valid ? QLX_MIP_OPTIMAL : QLX_MIP_INFEAS;
    }

    const SolveScope& scope_;
    const char* flags_;
    const std::vector<SemicontinuousColumn>& columns_;
    Results& results_;
    double sense_;
    NodeProblem node_;
    std::vector<Node> open_;  // a heap, the best bound first
    double closed_bound_ = kUnbounded;
    double current_bound_ = -kUnbounded;
    bool seeking_ = false;    // for a point of a problem whose relaxation is unbounded
    bool has_point_ = false;  // of the whole problem, perhaps none that beats the cutoff
    bool undecided_ = false;  // some node was left without an answer
};

}  // namespace

int search_semicontinuous(Problem& problem, const SolveScope& scope, const char* flags,
                          const std::vector<SemicontinuousColumn>& columns) {
    return Search(problem, scope, flags, columns).run();
}

}  // namespace qlx

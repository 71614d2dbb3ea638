// Branch and bound over constructs that no binary is to state. Each node is a problem of its own,
// solved whole: a relaxation without these constructs, with what was decided about them.
#include "engine/solve/construct_search.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <optional>
#include <utility>

#include "engine/check/point_check.hpp"
#include "engine/solve/construct_node.hpp"
#include "engine/solve/cutoff.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_scope.hpp"

namespace qlx {

namespace {

constexpr double kUnbounded = std::numeric_limits<double>::infinity();

struct Node {
    double bound = -kUnbounded;  // of the objective as minimised
    Path path;
};

bool is_worse(const Node& a, const Node& b) {
    return a.bound > b.bound;
}

// Dives to the likelier child until a node is closed, then goes on where the bound is best.
class Search final : public KernelWatch {
  public:
    Search(Problem& problem, const SolveScope& scope, const char* flags,
           const std::vector<ConstructItem>& items)
        : KernelWatch(problem),
          scope_(scope),
          flags_(flags),
          items_(items),
          results_(problem.results),
          sense_(problem.model.sense()),
          node_(problem, items, *this) {}

    int run() {
        search_below({});
        return conclude();
    }

    // The events of a node's solve.
    bool stop() noexcept override { return KernelWatch::stop() || is_found(); }
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
    void search_below(Node root) {
        std::optional<Node> next = std::move(root);
        while (next && !unbounded_ && !is_found()) {
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
    }

    // Whether any point was sought, and there is one.
    [[nodiscard]] bool is_found() const noexcept { return seeking_ && has_point_; }
    [[nodiscard]] double incumbent() const noexcept {
        return results_.mip.valid ? sense_ * results_.mip.objective : kUnbounded;
    }
    [[nodiscard]] double asked_cutoff() const noexcept {
        return has_cutoff(problem_) && !seeking_ ? sense_ * problem_.controls.mipabscutoff
                                                 : kUnbounded;
    }
    [[nodiscard]] double cutoff() const noexcept {
        return seeking_ ? kUnbounded : std::min(incumbent(), asked_cutoff());
    }
    // Whether nothing that is better by more than the gap can be below a node.
    [[nodiscard]] bool is_closed(double bound) const noexcept {
        if (bound >= asked_cutoff()) return true;
        if (!results_.mip.valid || seeking_) return false;
        const Controls& controls = problem_.controls;
        const double gap =
            std::max(controls.mipabsgap, controls.miprelgap * std::fabs(incumbent()));
        return bound >= incumbent() - gap;
    }
    void close(double bound) noexcept {
        if (!seeking_) closed_bound_ = std::min(closed_bound_, bound);
    }
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
        if (!branches_at(x).empty()) return false;
        if (!take_integer_point(problem_, x)) return false;
        has_point_ = true;
        if (results_.solutions_found >= problem_.controls.sollimit)
            problem_.interrupt(QLX_STOP_SOLLIMIT);
        return true;
    }

    const Results& solve(const Node& node) {
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
        if (!node_.decide(node.path)) {
            close(better_than);
            return std::nullopt;
        }
        const Results& found = solve(node);
        if (is_found()) return std::nullopt;
        progress({});
        if (std::isfinite(found.best_bound))
            node.bound = std::max(node.bound, sense_ * found.best_bound);
        switch (found.mip_status) {
            case QLX_MIP_INFEAS:
                close(better_than);
                return std::nullopt;
            case QLX_MIP_UNBOUNDED:
                return follow_ray(std::move(node));
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

    // The relaxation goes on for ever in a direction that improves the objective. Where nothing
    // undecided can end that way, the problem is unbounded if the node has a point of it, whatever
    // its objective.
    std::optional<Node> follow_ray(Node node) {
        for (const ConstructItem& one : items_) {
            if (!one.construct->blocks_rays() && !seeking_) continue;
            auto children = branches(one, nullptr);
            if (!children.empty()) return branch(std::move(node), std::move(children));
        }
        if (seeking_) {
            undecided_ = true;
            return std::nullopt;
        }
        std::vector<Node> others;
        others.swap(open_);
        set_seeking(true);
        search_below({-kUnbounded, node.path});
        unbounded_ = has_point_;
        set_seeking(false);
        open_.swap(others);
        if (!unbounded_ && results_.stop_status != QLX_STOP_NONE) keep(std::move(node));
        return std::nullopt;
    }
    void set_seeking(bool seeking) {
        if (seeking) has_point_ = false;
        seeking_ = seeking;
        node_.set_seeking(seeking);
    }

    std::optional<Node> take(Node node, const std::vector<double>& x) {
        auto children = branches_at(x.data());
        if ((children.empty() && offer(x.data())) || is_closed(node.bound)) {
            close(node.bound);
            return std::nullopt;
        }
        if (!children.empty()) return branch(std::move(node), std::move(children));
        if (problem_.stop_reason() == 0) return branch_anywhere(std::move(node));
        keep(std::move(node));
        return std::nullopt;
    }

    [[nodiscard]] std::vector<Branch> branches(const ConstructItem& one, const double* x) const {
        return one.construct->branches(problem_.model, node_.model(), one.item, x);
    }

    // Of the undecided construct that is violated most. A relaxation violates it by more than
    // rounding, not by a tolerance of the solver.
    [[nodiscard]] std::vector<Branch> branches_at(const double* x) {
        const std::vector<double> activities = row_activities(problem_.model, x);
        std::vector<std::pair<double, const ConstructItem*>> violated;
        for (const ConstructItem& one : items_) {
            const Violation violation =
                one.construct->violation(problem_.model, one.item, {x, activities});
            if (violation.types > 1e-9 || violation.rows > 1e-11)
                violated.emplace_back(violation.share, &one);
        }
        std::stable_sort(violated.begin(), violated.end(),
                         [](const auto& a, const auto& b) { return a.first > b.first; });
        for (const auto& [share, one] : violated)
            if (auto children = branches(*one, x); !children.empty()) return children;
        return {};
    }

    // A node without an answer that stands the check: its children may be easier.
    std::optional<Node> branch_anywhere(Node node) {
        for (const ConstructItem& one : items_)
            if (auto children = branches(one, nullptr); !children.empty())
                return branch(std::move(node), std::move(children));
        undecided_ = true;
        close(node.bound);
        return std::nullopt;
    }

    // The first child is dived into.
    std::optional<Node> branch(const Node& node, std::vector<Branch> children) {
        const auto child = [&](Branch& branch) {
            return Node{node.bound,
                        std::make_shared<const Step>(Step{std::move(branch), node.path})};
        };
        for (std::size_t k = 1; k < children.size(); ++k) keep(child(children[k]));
        return child(children.front());
    }

    int conclude() {
        if (unbounded_) {
            results_.stop_status = QLX_STOP_NONE;
            results_.mip = {};
            results_.solutions_found = 0;
            return QLX_MIP_UNBOUNDED;
        }
        for (const Node& node : open_) close(node.bound);
        results_.best_bound = sense_ * std::min(closed_bound_, incumbent());
        if (results_.stop_status != QLX_STOP_NONE || undecided_)
            return results_.mip.valid ? QLX_MIP_SOLUTION : QLX_MIP_NO_SOL_FOUND;
        return results_.mip.valid ? QLX_MIP_OPTIMAL : QLX_MIP_INFEAS;
    }

    const SolveScope& scope_;
    const char* flags_;
    const std::vector<ConstructItem>& items_;
    Results& results_;
    double sense_;
    NodeProblem node_;
    std::vector<Node> open_;  // a heap, the best bound first
    double closed_bound_ = kUnbounded;
    double current_bound_ = -kUnbounded;
    bool seeking_ = false;    // for any point below a node whose relaxation is unbounded
    bool has_point_ = false;  // of the whole problem, perhaps none that beats the cutoff
    bool unbounded_ = false;
    bool undecided_ = false;  // some node was left without an answer
};

}  // namespace

int search_constructs(Problem& problem, const SolveScope& scope, const char* flags,
                      const std::vector<ConstructItem>& items) {
    return Search(problem, scope, flags, items).run();
}

}  // namespace qlx

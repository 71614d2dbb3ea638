// Branch and bound over constructs that no binary is to state. Each node is a problem of its own,
// solved whole: a relaxation without these constructs, with what was decided about them.
#include "engine/solve/construct_search.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

#include "engine/check/point_check.hpp"
#include "engine/solve/construct_node.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_session.hpp"

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
class Search {
  public:
    Search(SolveSession& session, const char* flags, const std::vector<ConstructItem>& items,
           bool is_linear, const SearchEffort& effort)
        : session_(session),
          flags_(flags),
          items_(items),
          is_linear_(is_linear),
          effort_(effort),
          start_(session.seconds()),
          solutions_before_(session.results().solutions_found),
          controls_(session.controls()),
          results_(session.results()),
          sense_(session.model().sense()),
          node_(session.problem(), items) {
        // Nodes start from the basis of the one before.
        if (is_linear_) node_.problem().controls.presolve = 0;
    }

    int run() {
        search_below({});
        return gave_up_ ? kGaveUp : conclude();
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
    [[nodiscard]] double incumbent() const {
        const auto best = session_.incumbents().best();
        return best != nullptr ? sense_ * best->objective : kUnbounded;
    }
    // While a point is sought, any will do.
    [[nodiscard]] double asked_cutoff() const noexcept {
        return seeking_ ? kUnbounded : session_.incumbents().asked_cutoff();
    }
    [[nodiscard]] double cutoff() const {
        return seeking_ ? kUnbounded : std::min(incumbent(), asked_cutoff());
    }
    // Whether nothing that is better by more than the gap can be below a node.
    [[nodiscard]] bool is_closed(double bound) {
        if (bound >= asked_cutoff()) return cut_off_ = true;
        const double best = incumbent();
        if (best == kUnbounded || seeking_) return false;
        return bound >= best - std::max(controls_.mipabsgap, controls_.miprelgap * std::fabs(best));
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

    // What is left of the effort; a search that found something is worth all the time there is.
    [[nodiscard]] double seconds_of_effort() const noexcept {
        if (results_.solutions_found != solutions_before_) return kUnbounded;
        return effort_.seconds - (session_.seconds() - start_);
    }

    int reason_to_stop() noexcept {
        if (const int reason = session_.stop_rule().reason(); reason != QLX_STOP_NONE)
            return reason;
        if (controls_.lpiterlimit == 0) return QLX_STOP_ITERLIMIT;
        gave_up_ = seconds_of_effort() <= 0 ||
                   (explored_++ >= effort_.nodes && std::isfinite(seconds_of_effort()));
        if (gave_up_) return QLX_STOP_NODELIMIT;
        return results_.nodes >= controls_.nodelimit ? QLX_STOP_NODELIMIT : QLX_STOP_NONE;
    }

    [[nodiscard]] bool holds_rounded(const std::vector<double>& x) {
        return session_.incumbents().holds_rounded(x, effort_.tolerance);
    }

    // True when the point is one of the whole problem, whether or not it beats the cutoff.
    bool offer(const std::vector<double>& x) {
        if (session_.incumbents().is_full()) return false;
        if (!branches_at(x.data()).empty()) return false;
        if (is_linear_ && effort_.tolerance < 1 && !holds_rounded(x)) return false;
        if (session_.offer(x) == Verdict::kRejected) return false;
        has_point_ = true;
        return true;
    }

    // Where the whole search stands while a node is solved.
    [[nodiscard]] KernelProgress widened(const KernelProgress& of_node) const {
        KernelProgress whole;
        whole.tree = true;
        whole.nodes = results_.nodes + of_node.nodes;
        whole.best_solution = sense_ * incumbent();
        const double of_kernel =
            of_node.tree && !seeking_ ? sense_ * of_node.best_bound : -kUnbounded;
        whole.best_bound = sense_ * open_bound(std::max(current_bound_, of_kernel));
        return whole;
    }

    void solve_node(SolveSession& session) {
        if (is_linear_)
            solve_relaxation(session, flags_);
        else
            solve_part(session, flags_);
    }

    const Results& solve(const Node& node) {
        Problem& part = node_.problem();
        part.controls.timelimit =
            std::min(controls_.timelimit, std::max(1e-3, seconds_of_effort()));
        part.controls.nodelimit = controls_.nodelimit - static_cast<int>(results_.nodes);
        part.controls.mipabscutoff = sense_ * std::min(cutoff(), kInfinity);
        current_bound_ = node.bound;
        SolveSession session(session_, part);
        session.widen_progress([this](const KernelProgress& of_node) { return widened(of_node); });
        session.incumbents().tell({{}, [&](const Solution& found) {
                                       offer(found.x);
                                       if (is_found()) session.stop(QLX_STOP_SOLLIMIT);
                                   }});
        solve_node(session);
        KernelResult one;
        one.nodes = 1;
        if (part.results.nodes == 0) session.count(one);
        session.progress({});
        return part.results;
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
        if (std::isfinite(found.best_bound))
            node.bound = std::max(node.bound, sense_ * found.best_bound);
        switch (found.mip_status) {
            case QLX_MIP_INFEAS:
                close(better_than);
                return std::nullopt;
            case QLX_MIP_NO_SOL_FOUND:
                if (found.stop_status != QLX_STOP_CUTOFF) break;
                cut_off_ = cut_off_ || incumbent() > asked_cutoff();
                close(better_than);
                return std::nullopt;
            case QLX_MIP_UNBOUNDED:
                return follow_ray(std::move(node));
            case QLX_MIP_OPTIMAL:
                return take(std::move(node), found.mip.get()->x);
            default:
                break;
        }
        if (const auto best = found.mip.get()) offer(best->x);
        if (found.stop_status == QLX_STOP_NONE || found.stop_status == QLX_STOP_NUMERICS)
            return branch_anywhere(std::move(node));
        const int reason = session_.stop_rule().reason();
        results_.stop_status = reason != QLX_STOP_NONE ? reason : found.stop_status;
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
        // A point whose integers are off by tolerances may be a solution in spite of them.
        if (is_linear_ && integer_branches(x.data(), 1e-6).empty() && holds_rounded(x))
            session_.offer(x);
        auto children = branches_at(x.data());
        // What is nearly an integer may be none to a large coefficient.
        if (children.empty() && is_linear_ && !holds_rounded(x))
            children = integer_branches(x.data(), 0);
        if ((children.empty() && offer(x)) || is_closed(node.bound)) {
            close(node.bound);
            return std::nullopt;
        }
        if (!children.empty()) return branch(std::move(node), std::move(children));
        if (!session_.incumbents().is_full()) return branch_anywhere(std::move(node));
        keep(std::move(node));
        return std::nullopt;
    }

    [[nodiscard]] std::vector<Branch> branches(const ConstructItem& one, const double* x) const {
        return one.construct->branches(session_.model(), node_.model(), one.item, x);
    }

    // Of the undecided construct that is violated most. A relaxation violates it by more than
    // rounding, not by a tolerance of the solver.
    [[nodiscard]] std::vector<Branch> branches_at(const double* x) {
        const std::vector<double> activities = row_activities(session_.model(), x);
        std::vector<std::pair<double, const ConstructItem*>> violated;
        for (const ConstructItem& one : items_) {
            const Violation violation =
                one.construct->violation(session_.model(), one.item, {x, activities});
            if (violation.types > 1e-9 || violation.rows > 1e-11)
                violated.emplace_back(violation.share, &one);
        }
        std::stable_sort(violated.begin(), violated.end(),
                         [](const auto& a, const auto& b) { return a.first > b.first; });
        for (const auto& [share, one] : violated)
            if (auto children = branches(*one, x); !children.empty()) return children;
        return integer_branches(x, 1e-9);
    }

    [[nodiscard]] bool is_branched_integer(int col) const {
        const char type = node_.model().col_type()[at(col)];
        return is_linear_ && (type == 'I' || type == 'B');
    }

    // Points may be outside by a tolerance, which branching would not change.
    [[nodiscard]] double within_bounds(const double* x, int col) const {
        const Model& model = node_.model();
        return std::max(model.lb()[at(col)], std::min(model.ub()[at(col)], x[col]));
    }

    // Either side of the value of the integer column that is farthest from one, the nearer first.
    [[nodiscard]] std::vector<Branch> integer_branches(const double* x, double negligible) const {
        double farthest = negligible;
        int chosen = -1;
        for (int col = 0; col < node_.model().num_cols(); ++col) {
            const double value = within_bounds(x, col);
            if (!is_branched_integer(col) || distance_to_integer(value) <= farthest) continue;
            farthest = distance_to_integer(value);
            chosen = col;
        }
        if (chosen < 0) return {};
        const double value = within_bounds(x, chosen);
        std::vector<Branch> children = split(chosen, std::floor(value));
        if (value - std::floor(value) > 0.5) std::swap(children[0], children[1]);
        return children;
    }

    // The halves of the widest range of an integer column that can be halved to single values.
    [[nodiscard]] std::vector<Branch> halves() const {
        constexpr double kWidest = 1e6;
        double widest = 0;
        int chosen = -1;
        for (int col = 0; col < node_.model().num_cols(); ++col) {
            const double width = node_.model().ub()[at(col)] - node_.model().lb()[at(col)];
            if (!is_branched_integer(col) || width > kWidest || width <= widest) continue;
            widest = width;
            chosen = col;
        }
        if (chosen < 0) return {};
        return split(chosen, std::floor(std::midpoint(node_.model().lb()[at(chosen)],
                                                      node_.model().ub()[at(chosen)])));
    }

    static std::vector<Branch> split(int col, double below) {
        std::vector<Branch> children;
        children.push_back({{{col, -kInfinity, below}}, {}, {}});
        children.push_back({{{col, below + 1, kInfinity}}, {}, {}});
        return children;
    }

    // A node without an answer that stands the check: its children may be easier.
    std::optional<Node> branch_anywhere(Node node) {
        for (const ConstructItem& one : items_)
            if (auto children = branches(one, nullptr); !children.empty())
                return branch(std::move(node), std::move(children));
        if (auto children = halves(); !children.empty())
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

    // Whether there is no solution even without the cutoff, as far as the root tells. That is worth
    // as much time as the search took.
    bool has_no_relaxed_point() {
        Problem& part = node_.problem();
        if (!node_.decide({})) return true;
        node_.set_seeking(true);
        part.controls.mipabscutoff = kInfinity;
        part.controls.timelimit = std::max(1.0, session_.seconds());
        SolveSession session(session_, part);
        solve_node(session);
        return part.results.mip_status == QLX_MIP_INFEAS;
    }

    int conclude() {
        if (unbounded_) {
            results_.stop_status = QLX_STOP_NONE;
            session_.incumbents().forget();
            return QLX_MIP_UNBOUNDED;
        }
        for (const Node& node : open_) close(node.bound);
        results_.best_bound = sense_ * std::min(closed_bound_, incumbent());
        const bool found = !results_.mip.empty();
        if (undecided_ && results_.stop_status == QLX_STOP_NONE)
            results_.stop_status = QLX_STOP_NUMERICS;
        if (results_.stop_status != QLX_STOP_NONE)
            return found ? QLX_MIP_SOLUTION : QLX_MIP_NO_SOL_FOUND;
        if (found) return QLX_MIP_OPTIMAL;
        if (!cut_off_ || has_no_relaxed_point()) return QLX_MIP_INFEAS;
        results_.stop_status = QLX_STOP_CUTOFF;
        return QLX_MIP_NO_SOL_FOUND;
    }

    SolveSession& session_;
    const char* flags_;
    const std::vector<ConstructItem> items_;
    const bool is_linear_;  // nodes are linear programs, integers are branched on
    const SearchEffort effort_;
    const double start_;
    const std::int64_t solutions_before_;
    int explored_ = 0;
    bool gave_up_ = false;
    const Controls& controls_;
    Results& results_;
    double sense_;
    NodeProblem node_;
    std::vector<Node> open_;  // a heap, the best bound first
    double closed_bound_ = kUnbounded;
    double current_bound_ = -kUnbounded;
    bool seeking_ = false;    // for any point below a node whose relaxation is unbounded
    bool has_point_ = false;  // of the whole problem, perhaps none that beats the cutoff
    bool unbounded_ = false;
    bool cut_off_ = false;    // some node was closed because of the cutoff that was asked for
    bool undecided_ = false;  // some node was left without an answer
};

}  // namespace

int search_constructs(SolveSession& session, const char* flags,
                      const std::vector<ConstructItem>& items) {
    return Search(session, flags, items, false, {}).run();
}

int search_by_linear_programs(SolveSession& session, const char* flags,
                              const SearchEffort& effort) {
    return Search(session, flags, construct_items(session.model()), true, effort).run();
}

}  // namespace qlx

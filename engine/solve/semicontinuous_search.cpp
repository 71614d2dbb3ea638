// Branch and bound over semi-continuous columns that no binary can switch: such a column is 0 or
// within its range, its relaxation lies between. Each node is a problem of its own, solved whole.
#include "engine/solve/semicontinuous_search.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "engine/solve/semicontinuous_node.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_session.hpp"

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
class Search {
  public:
    Search(SolveSession& session, const char* flags,
           const std::vector<SemicontinuousColumn>& columns)
        : session_(session),
          flags_(flags),
          columns_(columns),
          controls_(session.controls()),
          results_(session.results()),
          sense_(session.model().sense()),
          node_(session.problem(), columns) {}

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

  private:
    [[nodiscard]] bool is_unbounded() const noexcept { return seeking_ && has_point_; }
    [[nodiscard]] double incumbent() const {
        const auto best = session_.incumbents().best();
        return best != nullptr ? sense_ * best->objective : kUnbounded;
    }
    // While a point is sought, any will do.
    [[nodiscard]] double asked_cutoff() const noexcept {
        return seeking_ ? kUnbounded : session_.incumbents().asked_cutoff();
    }
    [[nodiscard]] double cutoff() const { return std::min(incumbent(), asked_cutoff()); }
    // Whether nothing that is better by more than the gap can be below a node.
    [[nodiscard]] bool is_closed(double bound) {
        if (bound >= asked_cutoff()) return cut_off_ = true;
        const double best = incumbent();
        if (best == kUnbounded) return false;
        return bound >= best - std::max(controls_.mipabsgap, controls_.miprelgap * std::fabs(best));
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
        if (const int reason = session_.stop_rule().reason(); reason != QLX_STOP_NONE)
            return reason;
        if (controls_.lpiterlimit == 0) return QLX_STOP_ITERLIMIT;
        return results_.nodes >= controls_.nodelimit ? QLX_STOP_NODELIMIT : QLX_STOP_NONE;
    }

    // True when the point is one of the whole problem, whether or not it beats the cutoff.
    bool offer(const std::vector<double>& x) {
        if (session_.incumbents().is_full()) return false;
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

    const Results& solve(const Node& node) {
        node_.decide(node.path);
        Problem& part = node_.problem();
        part.controls.nodelimit = controls_.nodelimit - static_cast<int>(results_.nodes);
        part.controls.mipabscutoff = sense_ * std::min(cutoff(), kInfinity);
        current_bound_ = node.bound;
        SolveSession session(session_, part);
        session.widen_progress([this](const KernelProgress& of_node) { return widened(of_node); });
        session.incumbents().tell({{}, [&](const Solution& found) {
                                       offer(found.x);
                                       if (is_unbounded()) session.stop(QLX_STOP_SOLLIMIT);
                                   }});
        solve_part(session, flags_);
        KernelResult one;
        one.nodes = 1;
        if (part.results.nodes == 0) session.count(one);
        session.progress({});
        return part.results;
    }

    // Solves a node; the child to dive into, if any.
    std::optional<Node> explore(Node node) {
        const double better_than = cutoff();
        const Results& found = solve(node);
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
                if (!seeking_) return seek_point();
                return branch_anywhere(std::move(node));
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

    // The relaxation goes on for ever in a direction that improves the objective. Far enough along
    // it from any point of the whole problem every column is within its range, or as it was: the
    // problem is unbounded if it has a point, whatever its objective.
    std::optional<Node> seek_point() {
        seeking_ = true;
        cut_off_ = false;
        undecided_ = false;
        node_.forget_objective();
        open_.clear();
        return Node{};
    }

    std::optional<Node> take(Node node, const std::vector<double>& x) {
        if (const auto place = between(x, controls_.feastol))
            return offer_and_branch(std::move(node), *place, x);
        if (offer(x) || is_closed(node.bound)) {
            close(node.bound);
            return std::nullopt;
        }
        if (!session_.incumbents().is_full()) return branch_anywhere(std::move(node));
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
        offer(x);  // what is between by little more than the tolerance may still pass
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

    // Whether there is no solution even without the cutoff, as far as the root tells. That is worth
    // as much time as the search took.
    bool has_no_relaxed_point() {
        Problem& part = node_.problem();
        node_.decide({});
        node_.forget_objective();
        part.controls.mipabscutoff = kInfinity;
        part.controls.timelimit = std::max(1.0, session_.seconds());
        SolveSession session(session_, part);
        solve_part(session, flags_);
        return part.results.mip_status == QLX_MIP_INFEAS;
    }

    int conclude() {
        if (is_unbounded()) {
            results_.stop_status = QLX_STOP_NONE;
            session_.incumbents().forget();
            return QLX_MIP_UNBOUNDED;
        }
        for (const Node& node : open_) close(node.bound);
        if (!seeking_) results_.best_bound = sense_ * std::min(closed_bound_, incumbent());
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
    const std::vector<SemicontinuousColumn>& columns_;
    const Controls& controls_;
    Results& results_;
    double sense_;
    NodeProblem node_;
    std::vector<Node> open_;  // a heap, the best bound first
    double closed_bound_ = kUnbounded;
    double current_bound_ = -kUnbounded;
    bool seeking_ = false;    // for a point of a problem whose relaxation is unbounded
    bool has_point_ = false;  // of the whole problem, perhaps none that beats the cutoff
    bool cut_off_ = false;    // some node was closed because of the cutoff that was asked for
    bool undecided_ = false;  // some node was left without an answer
};

}  // namespace

int search_semicontinuous(SolveSession& session, const char* flags,
                          const std::vector<SemicontinuousColumn>& columns) {
    return Search(session, flags, columns).run();
}

}  // namespace qlx

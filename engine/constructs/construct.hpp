// What every construct beyond linear rows and integer columns can do: measure its violation, be
// stated with binaries, tighten bounds, and be branched on. One file implements each.
#pragma once

#include <vector>

#include "engine/constructs/point.hpp"
#include "engine/data/model.hpp"

namespace qlx {

class Builder;
class Domains;

struct Violation {
    double rows = 0;   // relative, as of any row
    double types = 0;  // a distance
    double share = 0;  // of what branching can repair, 0 .. 1: tells where to branch
};

// What one child of a branching adds to its parent.
struct Branch {
    struct Bounds {
        int col;
        double lower;
        double upper;
    };
    std::vector<Bounds> bounds;  // besides those in force
    std::vector<int> rows;       // indicator rows that hold from here on
    std::vector<int> integers;   // columns that are integer from here on
};

// One kind of construct. Its items are numbered as the model numbers them: by column, row or set.
class Construct {
  public:
    Construct() = default;
    virtual ~Construct() = default;
    Construct(const Construct&) = delete;
    Construct& operator=(const Construct&) = delete;

    // Those of a model that say anything. Throws Error where one is ill-formed.
    [[nodiscard]] virtual std::vector<int> items(const Model& model) const = 0;
    [[nodiscard]] virtual Violation violation(Model& model, int item, const Point& point) const = 0;

    // The largest coefficient that stating an item with binaries takes; kInfinity: it cannot be.
    [[nodiscard]] virtual double big_m(Builder& builder, int item) const = 0;
    // Adds the binaries and rows that state an item whose big_m is finite.
    virtual void state(Builder& builder, int item) const = 0;

    virtual void tighten(Domains& domains, int item) const = 0;

    // Takes items out of a model that is to be branched on, which is thereby relaxed.
    virtual void relax(Model& node, const std::vector<int>& items) const = 0;
    // Branches of a node such that each of its points that satisfies the item is in one of them,
    // the likelier one for x first. Empty where everything is decided. One branch: there is no
    // choice, but the node does not say so yet. x null: any branches.
    [[nodiscard]] virtual std::vector<Branch> branches(const Model& stated, const Model& node,
                                                       int item, const double* x) const = 0;
    // Whether an improving ray of a node in which the item is undecided says nothing, as points far
    // along it may violate the item.
    [[nodiscard]] virtual bool blocks_rays() const noexcept = 0;
};

// One item of some construct.
struct ConstructItem {
    const Construct* construct;
    int item;
};

// All constructs there are.
[[nodiscard]] const std::vector<const Construct*>& construct_table();
[[nodiscard]] std::vector<ConstructItem> construct_items(const Model& model);
[[nodiscard]] bool has_constructs(const Model& model);

// The constructs themselves, each in the file of its name.
[[nodiscard]] const Construct& semicontinuous();
[[nodiscard]] const Construct& partial_integer();
[[nodiscard]] const Construct& ordered_sets();
[[nodiscard]] const Construct& indicators();

}  // namespace qlx

// What a variable is beside its identity: bounds, threshold, type and name.
#include "model/domain.hpp"

#include <array>
#include <bit>
#include <new>

namespace quilex {

namespace {

// The last few domains that were asked for, each with one ownership of its own. Models make their
// variables in families, one after the other.
constexpr size_t kRecent = 4;
std::array<Domain*, kRecent> recent{};
size_t next_recent = 0;

// By bits, so that -0.0 is not 0.0 and a NaN equals itself.
bool same_bits(double a, double b) noexcept {
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

bool agree(const Domain& a, const Domain& b) noexcept {
    return a.vartype == b.vartype && same_bits(a.lb, b.lb) && same_bits(a.ub, b.ub) &&
           same_bits(a.threshold, b.threshold);
}

Domain* new_domain(const Domain& values) {
    void* const memory = PyMem_Malloc(sizeof(Domain));
    if (memory == nullptr) throw std::bad_alloc();
    auto* const domain = new (memory) Domain(values);
    domain->owners = 1;
    Py_XINCREF(domain->name);
    return domain;
}

void remember(Domain* domain) noexcept {
    ++domain->owners;
    Domain* const forgotten = std::exchange(recent[next_recent], domain);
    next_recent = (next_recent + 1) % kRecent;
    if (forgotten != nullptr) release_domain(forgotten);
}

}  // namespace

Domain* find_domain(const Domain& wanted) {
    if (wanted.name != nullptr) return new_domain(wanted);
    for (Domain* const domain : recent) {
        if (domain == nullptr || !agree(*domain, wanted)) continue;
        ++domain->owners;
        return domain;
    }
    Domain* const domain = new_domain(wanted);
    remember(domain);
    return domain;
}

void release_domain(Domain* domain) noexcept {
    if (--domain->owners > 0) return;
    PyObject* const name = domain->name;
    PyMem_Free(domain);
    Py_XDECREF(name);
}

Domain* own_domain(Domain* domain) {
    if (domain->owners == 1) return domain;
    Domain* const own = new_domain(*domain);
    release_domain(domain);
    return own;
}

}  // namespace quilex

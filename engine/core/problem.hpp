// The problem handle: a model with its controls, messages and last solve.
#pragma once

#include <atomic>
#include <memory>

#include "engine/base/errors.hpp"
#include "engine/base/index_stamps.hpp"
#include "engine/base/live_counts.hpp"
#include "engine/core/controls.hpp"
#include "engine/core/events.hpp"
#include "engine/core/interrupt_check.hpp"
#include "engine/core/messages.hpp"
#include "engine/core/ownership.hpp"
#include "engine/core/problem_fwd.hpp"
#include "engine/core/results.hpp"
#include "engine/data/model.hpp"

namespace qlx {
class LiveModel;
}  // namespace qlx

struct qlx_problem {
    qlx_problem();
    ~qlx_problem();
    qlx_problem(const qlx_problem&) = delete;
    qlx_problem& operator=(const qlx_problem&) = delete;

    [[nodiscard]] int error_code() const noexcept {
        int code = 0;
        error.read(&code, nullptr, 0);
        return code;
    }
    // Only sets a flag, so it is safe in signal handlers; ignored when nothing is being solved.
    void interrupt(int reason) noexcept {
        if (ownership.solving()) stop_reason_.store(reason, std::memory_order_relaxed);
    }
    // Asks the caller's interrupt check, when it is due, whether the running solve shall stop.
    void look_for_interrupt() noexcept {
        if (const int reason = interrupt_check.look(this); reason != 0) interrupt(reason);
    }
    // 0 while the running solve shall go on.
    [[nodiscard]] int stop_reason() const noexcept {
        return stop_reason_.load(std::memory_order_relaxed);
    }
    void clear_stop_reason() noexcept { stop_reason_.store(0, std::memory_order_relaxed); }
    void send(int type, int number, std::string_view text) {
        messages.send(*this, type, number, text);
    }
    // The solver object that mirrors the model, made on first use.
    [[nodiscard]] qlx::LiveModel& live_model();
    void drop_live_model() noexcept;
    // Results of another model must not stay readable.
    void forget_results();

    qlx::LastError error;
    qlx::Ownership ownership;
    qlx::Controls controls;
    qlx::Model model;
    qlx::Results results;
    qlx::Events events;
    qlx::Messages messages;
    qlx::InterruptCheck interrupt_check;
    qlx::IndexStamps index_stamps;  // kept, so that checking a row costs no pass over all columns
    qlx::NonlinearProblem* nonlinear = nullptr;  // the one built on this problem, not owned

  private:
    std::unique_ptr<qlx::LiveModel> live_model_;
    std::atomic<int> stop_reason_{0};
    qlx::Counted<&qlx::LiveCounts::problems> counted_;
};

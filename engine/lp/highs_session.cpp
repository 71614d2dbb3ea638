// Options, callbacks and runs of a Highs object.
#include "engine/lp/highs_session.hpp"

#include <algorithm>
#include <string>
#include <system_error>

#include "engine/base/running_solves.hpp"
#include "engine/lp/refusal.hpp"

namespace qlx {

namespace {

KernelProgress progress_of(int event, const HighsCallbackOutput& output) {
    KernelProgress progress;
    progress.seconds = output.running_time;
    progress.tree = event == kCallbackMipInterrupt;
    progress.iterations = event == kCallbackIpmInterrupt ? output.ipm_iteration_count
                                                         : output.simplex_iteration_count;
    progress.objective = output.objective_function_value;
    progress.nodes = output.mip_node_count;
    progress.best_solution = output.mip_primal_bound;
    progress.best_bound = output.mip_dual_bound;
    return progress;
}

}  // namespace

std::shared_ptr<HighsSession> HighsSession::make() {
    return std::shared_ptr<HighsSession>(new HighsSession);
}

HighsSession::HighsSession() {
    set("output_flag", false);
    set("log_to_console", false);
    set("threads", HighsInt{1});
    highs_.setCallback([this](int event, const std::string&, const HighsCallbackOutput* output,
                              HighsCallbackInput* input,
                              void*) { call_back(event, output, input); });
    for (const auto event : {kCallbackSimplexInterrupt, kCallbackIpmInterrupt,
                             kCallbackMipInterrupt, kCallbackMipImprovingSolution})
        highs_.startCallback(event);
}

void HighsSession::set(const char* option, bool value) {
    if (!accepted(highs_.setOptionValue(option, value)))
        fail_option(option, value ? "true" : "false");
}

void HighsSession::set(const char* option, HighsInt value) {
    if (!accepted(highs_.setOptionValue(option, value))) fail_option(option, value);
}

void HighsSession::set(const char* option, double value) {
    if (!accepted(highs_.setOptionValue(option, value))) fail_option(option, value);
}

void HighsSession::set(const char* option, const char* value) {
    if (!accepted(highs_.setOptionValue(option, std::string(value)))) fail_option(option, value);
}

// The interrupt flag keeps its value between calls, so it is assigned at every one.
void HighsSession::call_back(int event, const HighsCallbackOutput* output,
                             HighsCallbackInput* input) {
    if (output == nullptr || (events_ == nullptr && link_ == nullptr)) return;
    if (event == kCallbackMipImprovingSolution) {
        const auto size = static_cast<int>(output->mip_solution.size());
        if (link_ != nullptr)
            link_->solution(output->mip_solution.data(), size);
        else
            events_->solution(output->mip_solution.data(), size);
        return;
    }
    const KernelProgress progress = progress_of(event, *output);
    if (link_ != nullptr)
        link_->progress(progress);
    else
        events_->progress(progress);
    if (input == nullptr) return;
    const bool asked = link_ != nullptr ? link_->cancelled() : events_->stop();
    input->user_interrupt = asked || RunningSolve::process_ends();
}

RunEnd HighsSession::run_here(KernelEvents& events) {
    events_ = &events;
    RunEnd end;
    end.status = highs_.run();
    events_ = nullptr;
    return end;
}

void HighsSession::return_here() {
    link_ = nullptr;
    set("threads", HighsInt{1});
}

RunEnd HighsSession::run(const RunLimits& limits, KernelEvents& events) {
    if (!limits.apart) return run_here(events);
    set("threads", HighsInt{std::max(limits.threads, 1)});
    auto status = std::make_shared<HighsStatus>(HighsStatus::kError);
    link_ = std::make_shared<SolveLink>();
    const auto job = [self = shared_from_this(), status] {
        *status = self->highs_.run();
        Highs::resetGlobalScheduler(true);
    };
    RunEnd end;
    try {
        static_cast<SolveEnd&>(end) = SolveLink::run(link_, job, events, limits.seconds);
    } catch (const std::system_error&) {  // no thread to have
        return_here();
        return run_here(events);
    } catch (...) {
        return_here();
        throw;
    }
    if (end.left_behind) return end;
    end.status = *status;
    return_here();
    return end;
}

}  // namespace qlx

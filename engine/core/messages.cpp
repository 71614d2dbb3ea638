// Sending messages to callbacks, handlers, log files and the console.
#include "engine/core/messages.hpp"

#include <ctime>
#include <string>

#include "engine/base/errors.hpp"
#include "engine/core/environment.hpp"
#include "engine/core/events.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

namespace {

// Local date and time, as a line of a log file begins with them.
std::string time_stamp() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S ", &parts)};
}

}  // namespace

void Messages::set_log_file(const char* filename) {
    if (filename == nullptr || *filename == '\0') {
        file_.reset();
        return;
    }
    std::FILE* file = std::fopen(filename, "a");
    if (file == nullptr) fail(QLX_ERROR_FILE, "cannot open log file \"", filename, "\"");
    file_.reset(file);
}

bool Messages::enabled(int number) const {
    const auto found = enabled_.find(number);
    return found == enabled_.end() || found->second;
}

bool Messages::wanted(const Problem& problem) const {
    return environment().messages_enabled &&
           (!problem.events.message.empty() || file_ != nullptr ||
            problem.controls.outputlog != 0 || !environment().handlers.empty());
}

void Messages::send(Problem& problem, int type, int number, std::string_view text) {
    if (!environment().messages_enabled || !enabled(number)) return;
    const std::string line(text);
    raise_event<Event::message>(problem, line.c_str(), static_cast<int>(line.size()), type);
    if (!environment().handlers.empty()) {
        const Lent lent(problem.ownership, event_row(Event::message));
        if (environment().broadcast(&problem, line, type, number)) problem.interrupt(QLX_STOP_USER);
    }
    if (file_ != nullptr) {
        const std::string stamp = problem.controls.logtimes != 0 ? time_stamp() : "";
        std::fprintf(file_.get(), "%s%s\n", stamp.c_str(), line.c_str());
        std::fflush(file_.get());
    }
    if (problem.controls.outputlog != 0) {
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    }
}

}  // namespace qlx

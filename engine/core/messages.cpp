// Sending messages to callbacks, handlers, log files and the console.
#include "engine/core/messages.hpp"

#include <algorithm>
#include <string>

#include "engine/base/errors.hpp"
#include "engine/core/environment.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

void Messages::add(QLXmessagecb callback, void* data, int priority) {
    const auto place =
        std::find_if(receivers_.begin(), receivers_.end(),
                     [priority](const Receiver& other) { return other.priority < priority; });
    receivers_.insert(place, {callback, data, priority});
}

bool Messages::remove(QLXmessagecb callback, void* data) {
    return std::erase_if(receivers_, [&](const Receiver& other) {
               return (callback == nullptr || other.call == callback) &&
                      (data == nullptr || other.data == data);
           }) > 0;
}

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
           (!receivers_.empty() || file_ != nullptr || problem.controls.outputlog != 0 ||
            environment().has_handlers());
}

void Messages::send(Problem& problem, int type, int number, std::string_view text) {
    if (!environment().messages_enabled || !enabled(number)) return;
    const std::string line(text);
    const auto receivers = receivers_;  // a callback may register or remove
    for (const Receiver& receiver : receivers) {
        if (problem.stop_reason() != 0) break;
        receiver.call(&problem, receiver.data, line.c_str(), static_cast<int>(line.size()), type);
    }
    if (environment().broadcast(&problem, line, type, number)) problem.interrupt(QLX_STOP_USER);
    if (file_ != nullptr) {
        std::fprintf(file_.get(), "%s\n", line.c_str());
        std::fflush(file_.get());
    }
    if (problem.controls.outputlog != 0) {
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
    }
}

}  // namespace qlx

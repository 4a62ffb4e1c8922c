// Response bodies through the JSON reading of both fetch shapes, the window objects found in
// them through the window parsing and its labels, and the whole body through the search for
// the windows the services add.
#include "providers/claude_provider.h"
#include "providers/codex_provider.h"
#include "providers/fetch_json.h"
#include "providers/window_labels.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void check(bool ok) {
    if (!ok) {
        std::abort();
    }
}

// Percentages beyond 64 bits stop the program by design; they are not what is looked for here.
bool percentIsRepresentable(const nlohmann::json& window) {
    if (!window.is_object()) {
        return true;
    }
    const auto found = window.find("utilization");
    return found == window.end() || !found->is_number() || std::fabs(found->get<double>()) < 9.0e18;
}

// Whatever the body holds, the added windows are few, under plain keys, each key once, and
// labelled exactly when they have a reset time.
void checkExtraWindows(const quillon::ExtraWindows& windows) {
    check(windows.size() <= quillon::maxExtraWindows);
    for (std::size_t i = 0; i < windows.size(); ++i) {
        check(quillon::isWindowKey(windows[i].key));
        check(windows[i].window.resetLabel.empty() == !windows[i].window.resetsAt.has_value());
        for (std::size_t j = 0; j < i; ++j) {
            check(windows[i].key != windows[j].key);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillon;
    const std::string_view body(reinterpret_cast<const char*>(data), size);

    const nlohmann::json object = readJsonObject(body);
    check(object.is_object());
    const nlohmann::json array = readJsonArray(body);
    check(array.is_array());
    for (const auto& element : array) {
        check(element.is_object());
    }
    // One body cannot be both a non-empty object and a non-empty array.
    check(object.empty() || array.empty());

    checkExtraWindows(ClaudeProvider::extraWindows(object));
    checkExtraWindows(CodexProvider::extraWindows(object));

    for (const auto& [key, value] : object.items()) {
        if (!percentIsRepresentable(value)) {
            continue;
        }
        const auto window = parseWindow(&value);
        check(window.has_value() == value.is_object());
        if (window) {
            check(window->resetLabel.empty() == !window->resetsAt.has_value());
            const Instant now{};
            const std::string label = countdownLabel(window->resetsAt, now);
            check(label.empty() == !window->resetsAt.has_value());
        }
    }
    return 0;
}

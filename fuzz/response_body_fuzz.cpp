// Response bodies through the JSON reading of both fetch shapes, and the window objects found
// in them through the window parsing and its labels.
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

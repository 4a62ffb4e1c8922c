#include "sample_home.h"

#include "providers/formatters.h"

#include <nlohmann/json.hpp>

#include <fstream>

namespace quillon::demo {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

void writeFile(const std::filesystem::path& path, const std::string& contents) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << contents;
}

std::string lines(const std::vector<json>& objects) {
    std::string text;
    for (const auto& object : objects) {
        text += object.dump() + "\n";
    }
    return text;
}

} // namespace

void writeSampleHome(const std::filesystem::path& home, Instant now) {
    const auto claude = home / ".claude";
    const std::string session = "7d3f9a52-1c4e-4b8e-9f0a-5e6d7c8b9a01";
    const auto at = [&](std::chrono::minutes ago) { return Formatters::formatIso8601(now - ago); };
    const double expiresAt = std::chrono::duration<double>((now + 8h).time_since_epoch()).count();

    writeFile(
        claude / ".credentials.json",
        json{{"claudeAiOauth", {{"accessToken", "sample-oauth-token"}, {"expiresAt", expiresAt}}}}
            .dump());

    std::vector<json> prompts;
    for (int i = 0; i < 23; ++i) {
        prompts.push_back({{"display", "prompt " + std::to_string(i)},
                           {"timestamp", at(std::chrono::minutes(5 + i * 7))},
                           {"project", "/home/demo/quillon"}});
    }
    writeFile(claude / "history.jsonl", lines(prompts));

    std::vector<json> turns;
    for (int i = 0; i < 40; ++i) {
        turns.push_back({{"type", "assistant"},
                         {"timestamp", at(std::chrono::minutes(3 + i * 4))},
                         {"sessionId", session},
                         {"usage",
                          {{"input_tokens", 1200 + i * 10},
                           {"output_tokens", 850 + i * 5},
                           {"cache_read_input_tokens", 24000},
                           {"cache_creation_input_tokens", 1500}}}});
    }
    writeFile(claude / "projects" / "-home-demo-quillon" / (session + ".jsonl"), lines(turns));

    writeFile(claude / "debug" / (session + ".txt"),
              "[DEBUG] session started\n"
              "[DEBUG] autocompact: tokens=98000 threshold=160000 effectiveWindow=200000\n"
              "[DEBUG] autocompact: tokens=112400 threshold=160000 effectiveWindow=200000\n");

    writeFile(home / ".codex" / "auth.json",
              json{{"tokens", {{"access_token", "sample-codex-token"}}}}.dump());
}

} // namespace quillon::demo

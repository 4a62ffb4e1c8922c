#include "local_stats_tree.h"

#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace quillon::bench {

namespace fs = std::filesystem;

namespace {

std::string filler(std::mt19937_64& random, std::size_t size) {
    static const char words[][12] = {"the ",   "function ", "return ",   "value ",
                                     "const ", "config ",   "\\n",       "error ",
                                     "test ",  "build ",    "\\\"x\\\" "};
    std::string text;
    text.reserve(size + 16);
    while (text.size() < size) {
        text += words[random() % 11];
    }
    return text;
}

// Line bodies after the timestamp, shaped like the tool's own: assistant turns with usage inside
// the message, tool results without usage, summaries with usage at the top level.
std::vector<std::string> lineBodies(std::mt19937_64& random) {
    std::vector<std::string> bodies;
    for (int i = 0; i < 400; ++i) {
        const std::size_t size = 300 + (random() % 8 == 0 ? random() % 30000 : random() % 4000);
        const std::string usage =
            R"({"input_tokens":)" + std::to_string(random() % 5000) +
            R"(,"cache_creation_input_tokens":)" + std::to_string(random() % 20000) +
            R"(,"cache_read_input_tokens":)" + std::to_string(random() % 90000) +
            R"(,"output_tokens":)" + std::to_string(random() % 3000) +
            R"(,"service_tier":"standard"})";
        const std::string common =
            R"(,"sessionId":"5f1c2a9e-1d2b-4c3d-8e4f-)" + std::to_string(100000 + i) +
            R"(","version":"2.0.14","gitBranch":"main","cwd":"/home/dev/project",)";
        switch (i % 10) {
        case 0:
        case 1:
        case 2:
        case 3:
            bodies.push_back(
                common + R"("type":"assistant","message":{"model":"claude-x","id":"msg_)" +
                std::to_string(i) + R"(","role":"assistant","content":[{"type":"text","text":")" +
                filler(random, size) + R"("}],"stop_reason":null,"usage":)" + usage + "}}");
            break;
        case 4:
            bodies.push_back(common + R"("type":"summary","usage":)" + usage + R"(,"summary":")" +
                             filler(random, size / 4) + "\"}");
            break;
        default:
            bodies.push_back(
                common +
                R"("type":"user","message":{"role":"user","content":[{"type":"tool_result","content":")" +
                filler(random, size) + R"("}]},"toolUseResult":{"stdout":"ok"}})");
            break;
        }
    }
    return bodies;
}

std::string stamp(int daysAgo, std::uint64_t seconds) {
    char text[40];
    std::snprintf(text, sizeof text, "2026-%02d-%02dT%02d:%02d:%02d.%03dZ", daysAgo > 21 ? 10 : 11,
                  daysAgo > 21 ? 31 - (daysAgo - 22) : 22 - daysAgo,
                  static_cast<int>(seconds / 3600 % 24), static_cast<int>(seconds / 60 % 60),
                  static_cast<int>(seconds % 60), static_cast<int>(seconds % 1000));
    return text;
}

} // namespace

void ensureTree(const fs::path& home, const TreeShape& shape) {
    const fs::path claude = home / ".claude";
    if (fs::exists(claude / ".complete")) {
        return;
    }
    fs::remove_all(claude);
    std::mt19937_64 random(20261122);
    const auto bodies = lineBodies(random);
    const int files = shape.projects * shape.sessionsPerProject;
    const std::uint64_t perFile = shape.sessionBytes / static_cast<std::uint64_t>(files);
    std::string text;
    for (int project = 0; project < shape.projects; ++project) {
        const fs::path folder =
            claude / "projects" / ("-home-dev-work-project" + std::to_string(project));
        for (int session = 0; session < shape.sessionsPerProject; ++session) {
            // Some projects keep their sessions one level down.
            const fs::path parent = project < shape.projectsWithSubFolders
                                        ? folder / ("group" + std::to_string(session % 3))
                                        : folder;
            fs::create_directories(parent);
            const int index = project * shape.sessionsPerProject + session;
            const std::uint64_t target = perFile / 2 + random() % perFile;
            const int daysAgo = static_cast<int>(random() % 30);
            text.clear();
            std::uint64_t seconds = random() % 80000;
            while (text.size() < target) {
                text += "{\"parentUuid\":null,\"timestamp\":\"";
                text += stamp(daysAgo, seconds++);
                text += '"';
                text += bodies[random() % bodies.size()];
                text += '\n';
            }
            if (index % 700 == 5) {
                // A pasted file of several megabytes in one line.
                text += R"({"timestamp":")" + stamp(0, seconds) +
                        R"(","type":"user","message":{"content":")" +
                        filler(random, (3 + random() % 3) << 20) + "\"}}\n";
            }
            std::ofstream(parent / ("session-" + std::to_string(index) + ".jsonl"),
                          std::ios::binary)
                .write(text.data(), static_cast<std::streamsize>(text.size()));
        }
    }
    std::string history;
    for (int i = 0; i < 20000; ++i) {
        history += R"({"display":"fix the failing test please","pastedContents":{},"timestamp":)" +
                   std::to_string(1795000000 + i * 150) + R"(,"project":"/home/dev/work"})" + "\n";
    }
    std::ofstream(claude / "history.jsonl", std::ios::binary) << history;
    fs::create_directories(claude / "debug");
    for (int i = 0; i < 300; ++i) {
        std::string debug;
        for (int k = 0; k < 200; ++k) {
            debug += "2026-11-22T10:00:00.000Z [DEBUG] " +
                     std::string(k % 20 == 0 ? "autocompact: tokens=" + std::to_string(1000 * k) +
                                                   " threshold=160000 effectiveWindow=200000"
                                             : "Stream started - received first chunk") +
                     "\n";
        }
        std::ofstream(claude / "debug" / ("session-" + std::to_string(i) + ".txt"),
                      std::ios::binary)
            << debug;
    }
    std::ofstream(claude / ".complete") << "done\n";
}

TreeSize measureTree(const fs::path& home) {
    TreeSize size;
    for (const auto& entry : fs::recursive_directory_iterator(home / ".claude" / "projects")) {
        if (entry.is_regular_file() && entry.path().extension() == ".jsonl") {
            const auto bytes = entry.file_size();
            size.sessionBytes += bytes;
            size.largestFile = std::max<std::uint64_t>(size.largestFile, bytes);
            ++size.sessionFiles;
        }
    }
    return size;
}

} // namespace quillon::bench

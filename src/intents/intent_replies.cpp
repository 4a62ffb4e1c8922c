#include "intents/intent_replies.h"

#include <string_view>

namespace quillon {
namespace {

struct ProviderReplyTexts {
    std::string_view opening;
    std::string_view notConnected;
};

std::string providerReply(const std::optional<std::int64_t>& percent,
                          const std::optional<std::string>& resetTime,
                          const ProviderReplyTexts& texts) {
    if (!percent) {
        return std::string(texts.notConnected);
    }
    std::string reply = std::string(texts.opening) + std::to_string(*percent) + " percent";
    if (resetTime && !resetTime->empty()) {
        reply += ". " + *resetTime;
    }
    // Fixed levels, independent of the user's alert thresholds.
    if (*percent > 89) {
        reply += ". Warning: You're approaching your limit!";
    } else if (*percent >= 75) {
        reply += ". You're getting close to your limit.";
    }
    return reply;
}

} // namespace

std::string getUsageReply(const std::optional<SharedUsageData>& data) {
    if (!data) {
        return "No usage data available. Please open Quillon to sync your data.";
    }
    const auto& claude = data->claudePercent;
    const auto& codex = data->codexPercent;
    if (claude && codex) {
        return "Claude is at " + std::to_string(*claude) + " percent and Codex is at " +
               std::to_string(*codex) + " percent";
    }
    if (claude) {
        return "Claude is at " + std::to_string(*claude) + " percent";
    }
    if (codex) {
        return "Codex is at " + std::to_string(*codex) + " percent";
    }
    return "No providers are currently connected";
}

std::string getClaudeUsageReply(const std::optional<SharedUsageData>& data) {
    static constexpr ProviderReplyTexts texts{
        "Your Claude usage is at ", "Claude is not connected. Please check your settings."};
    return data ? providerReply(data->claudePercent, data->claudeResetTime, texts)
                : std::string(texts.notConnected);
}

std::string getCodexUsageReply(const std::optional<SharedUsageData>& data) {
    static constexpr ProviderReplyTexts texts{
        "Your Codex usage is at ", "Codex is not connected. Please check your settings."};
    return data ? providerReply(data->codexPercent, data->codexResetTime, texts)
                : std::string(texts.notConnected);
}

std::string performRefreshUsage(NotificationCenter& center) {
    center.post(refreshUsageFromIntent);
    return "Refreshing your usage data...";
}

} // namespace quillon

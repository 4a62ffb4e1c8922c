#pragma once

#include "alerts/notification_center.h"
#include "intents/shared_usage_data.h"

#include <optional>
#include <string>

namespace quillon {

// The spoken answers of the four intents, from the saved snapshot alone.

// "Claude is at 42 percent and Codex is at 17 percent", or the no-data reply without a snapshot.
std::string getUsageReply(const std::optional<SharedUsageData>& data);
// "Your Claude usage is at 92 percent. Resets in 2h 05m. Warning: You're approaching your
// limit!", or the not-connected reply.
std::string getClaudeUsageReply(const std::optional<SharedUsageData>& data);
std::string getCodexUsageReply(const std::optional<SharedUsageData>& data);
// Posts "refreshUsageFromIntent" on `center` and gives the reply.
std::string performRefreshUsage(NotificationCenter& center);

} // namespace quillon

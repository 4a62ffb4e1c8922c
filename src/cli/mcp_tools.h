#pragma once

#include "mcp/mcp_session.h"

#include <vector>

namespace quillon {

// The agents' tools, answered from the running Quillon's session-bus interface (or, to refresh
// without it, from the providers).
std::vector<mcp::Tool> usageTools();

} // namespace quillon

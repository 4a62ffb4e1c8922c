#pragma once

#include <nlohmann/json.hpp>

namespace quillon {

// The JSON Schema of statusDocument(): what `quillon status --format json` prints and what the
// agents' tools return as structured content, so that a client can check the figures it reads.
nlohmann::ordered_json statusDocumentSchema();

} // namespace quillon

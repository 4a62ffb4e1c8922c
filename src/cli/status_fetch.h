#pragma once

#include "cli/status_formats.h"

namespace quillon {

// The figures fetched once from the providers, as the application would fetch them, for the
// commands that answer without the running application. Stores nothing: a token obtained on the
// way is used for this fetch only.
StatusFigures fetchFigures();

} // namespace quillon

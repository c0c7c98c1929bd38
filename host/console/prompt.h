#ifndef VORNIK_HOST_CONSOLE_PROMPT_H
#define VORNIK_HOST_CONSOLE_PROMPT_H

#include "host/console/session.h"

namespace vornik::host::console {

/// Reads and runs input until it ends. Expressions print their values; a chunk may go over several lines.
/// With line editing and a history at a terminal; input from elsewhere is read as it is, without prompts.
/// False when the input came from elsewhere and something in it failed.
bool interact(Session& session);

}  // namespace vornik::host::console

#endif  // VORNIK_HOST_CONSOLE_PROMPT_H

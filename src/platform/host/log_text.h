// Text of unknown origin made fit for a line of the log.
#pragma once

#include <span>
#include <string_view>

namespace host {

// Copies TEXT into OUT with every control character made visible (a newline as \n, an escape as
// \x1b), so that one message stays one line and nobody can forge another. Returns what was written;
// text that does not fit is cut.
std::string_view make_visible(std::span<char> out, std::string_view text);

} // namespace host

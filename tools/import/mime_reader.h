// Reads one MIME message into a MailItem with GMime.
#pragma once

#include <string_view>

#include "items.h"

namespace vimport {

// Parses `raw` (the message's bytes, without any mbox "From " line) as far
// as it can be parsed. Never fails: what could not be read as declared is
// listed in `problems`, and input GMime cannot read as a message at all is
// kept whole as the plain body. Every text in the result is valid UTF-8.
MailItem ParseMessage(std::string_view raw);

}  // namespace vimport

// GMime parser warnings as readable problem lines.
#pragma once

#include <gmime/gmime.h>

namespace vimport {

// A GMimeParserWarningFunc; `user_data` is the std::vector<std::string> of
// problems to append to (bounded, so garbage input cannot flood it).
void RecordParserWarning(gint64 offset, GMimeParserWarning code, const gchar* item,
                         gpointer user_data);

}  // namespace vimport

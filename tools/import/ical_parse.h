// Turns iCalendar text into a libical component tree, as far as it reads.
#pragma once

#include <libical/ical.h>

#include <memory>
#include <string>
#include <vector>

namespace vimport {
namespace ical {

struct ComponentDeleter {
  void operator()(icalcomponent* comp) const { icalcomponent_free(comp); }
};
using ComponentPtr = std::unique_ptr<icalcomponent, ComponentDeleter>;

// Every top-level component of `raw` under one root (an XROOT when there
// are several); a component cut off by the end of the input is closed as
// it stands. The input is brought to UTF-8 and NUL bytes are removed
// first; `text` receives what was parsed. Null when nothing could be read, with the reason in `errors`.
ComponentPtr ParseComponents(const std::string& raw, std::string* text,
                             std::vector<std::string>* errors);

}  // namespace ical
}  // namespace vimport

#include "ical_parse.h"

#include <algorithm>

#include "ical_encoding.h"
#include "ical_source.h"

namespace vimport {
namespace ical {
namespace {

// Real calendars nest four levels at most (VCALENDAR, VEVENT, VALARM);
// libical frees its trees recursively, so very deep input is refused.
constexpr int kMaxNesting = 32;

// libical aborts on its internal errors unless told otherwise.
void MakeLibicalErrorsNonFatal() {
  static const bool done = [] {
    icalerror_set_errors_are_fatal(0);
    return true;
  }();
  (void)done;
}

// Hands libical the text line by line, as icalparser_parse wants it.
struct LineSource {
  const std::string* text;
  size_t pos;
};

char* NextLine(char* out, size_t size, void* data) {
  LineSource* source = static_cast<LineSource*>(data);
  const std::string& text = *source->text;
  if (source->pos >= text.size() || size < 2) return nullptr;
  size_t end = text.find('\n', source->pos);
  end = end == std::string::npos ? text.size() : end + 1;
  const size_t length = std::min(end - source->pos, size - 1);
  text.copy(out, length, source->pos);
  out[length] = '\0';
  source->pos += length;
  return out;
}

ComponentPtr ParseText(const std::string& text) {
  std::unique_ptr<icalparser, decltype(&icalparser_free)> parser(icalparser_new(),
                                                                  &icalparser_free);
  if (!parser) return nullptr;
  LineSource source{&text, 0};
  icalparser_set_gen_data(parser.get(), &source);
  ComponentPtr root(icalparser_parse(parser.get(), &NextLine));
  // The parser keeps ownership of what it closes here: take a copy.
  icalcomponent* unfinished = icalparser_clean(parser.get());
  if (unfinished == nullptr) return root;
  ComponentPtr rest(icalcomponent_new_clone(unfinished));
  if (!root) return rest;
  if (icalcomponent_isa(root.get()) != ICAL_XROOT_COMPONENT) {
    ComponentPtr both(icalcomponent_new(ICAL_XROOT_COMPONENT));
    icalcomponent_add_component(both.get(), root.release());
    root = std::move(both);
  }
  icalcomponent_add_component(root.get(), rest.release());
  return root;
}

}  // namespace

ComponentPtr ParseComponents(const std::string& raw, std::string* text,
                             std::vector<std::string>* errors) {
  MakeLibicalErrorsNonFatal();
  *text = ToUtf8(raw, errors);
  // libical reads C strings: NUL bytes would end the input early.
  if (text->find('\0') != std::string::npos) {
    errors->push_back("NUL bytes in the input were removed");
    text->erase(std::remove(text->begin(), text->end(), '\0'), text->end());
  }
  if (MaxNesting(*text) > kMaxNesting) {
    errors->push_back("components nested more than " + std::to_string(kMaxNesting) +
                      " levels deep; not read");
    return nullptr;
  }
  ComponentPtr root = ParseText(*text);
  if (!root) errors->push_back("no iCalendar data found");
  return root;
}

}  // namespace ical
}  // namespace vimport

#include "json_writer.h"

#include <cstdio>

namespace inspect {

void JsonWriter::prefix(const char* key) {
  if (!first_.empty()) {
    if (!first_.back()) out_ << ',';
    first_.back() = false;
    out_ << '\n' << std::string(first_.size() * 2, ' ');
  }
  if (key != nullptr) out_ << quote(key) << ": ";
}

void JsonWriter::open(const char* key, char bracket) {
  prefix(key);
  out_ << bracket;
  first_.push_back(true);
}

void JsonWriter::close(char bracket) {
  bool empty = first_.back();
  first_.pop_back();
  if (!empty) out_ << '\n' << std::string(first_.size() * 2, ' ');
  out_ << bracket;
}

void JsonWriter::beginObject(const char* key) { open(key, '{'); }
void JsonWriter::endObject() { close('}'); }
void JsonWriter::beginArray(const char* key) { open(key, '['); }
void JsonWriter::endArray() { close(']'); }

void JsonWriter::value(const char* key, const std::string& v) {
  prefix(key);
  out_ << quote(v);
}

void JsonWriter::value(const char* key, std::uint64_t v) {
  prefix(key);
  out_ << v;
}

void JsonWriter::value(const char* key, bool v) {
  prefix(key);
  out_ << (v ? "true" : "false");
}

void JsonWriter::null(const char* key) {
  prefix(key);
  out_ << "null";
}

std::string JsonWriter::quote(const std::string& s) {
  std::string out = "\"";
  for (unsigned char c : s) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

}  // namespace inspect

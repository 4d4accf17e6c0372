// A small streaming JSON writer with indentation.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace inspect {

class JsonWriter {
 public:
  explicit JsonWriter(std::ostream& out) : out_(out) {}

  void beginObject(const char* key = nullptr);
  void endObject();
  void beginArray(const char* key = nullptr);
  void endArray();
  void value(const char* key, const std::string& v);
  void value(const char* key, const char* v) { value(key, std::string(v)); }
  void value(const char* key, std::uint64_t v);
  void value(const char* key, bool v);
  void null(const char* key);
  // Appends a newline after the top-level value.
  void finish() { out_ << '\n'; }

 private:
  void prefix(const char* key);
  void open(const char* key, char bracket);
  void close(char bracket);
  static std::string quote(const std::string& s);

  std::ostream& out_;
  std::vector<bool> first_;  // per open container: nothing written yet
};

}  // namespace inspect

// The three exception types every internal failure is reported with.
#pragma once

#include <stdexcept>
#include <string>

namespace virel {

// "Virel Error: " + message. The composed text is the whole state.
class VirelException : public std::runtime_error {
 public:
  explicit VirelException(const std::string& message);
};

class FileIOException : public VirelException {
 public:
  FileIOException(const std::string& operation, const std::string& path,
                  const std::string& detail);
};

class SerializationException : public VirelException {
 public:
  SerializationException(const std::string& subject, const std::string& detail);
};

}  // namespace virel

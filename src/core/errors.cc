#include "core/errors.h"

namespace virel {

VirelException::VirelException(const std::string& message)
    : std::runtime_error("Virel Error: " + message) {}

FileIOException::FileIOException(const std::string& operation,
                                 const std::string& path,
                                 const std::string& detail)
    : VirelException("File I/O failed during " + operation + " on '" + path +
                     "': " + detail) {}

SerializationException::SerializationException(const std::string& subject,
                                               const std::string& detail)
    : VirelException("Serialization failed for " + subject + ": " + detail) {}

}  // namespace virel

// File names for attachments: the one the message gives, made safe to use
// as a plain name, or a generated one with an extension for its type.
#pragma once

#include <string>

namespace vimport {

// A conventional extension (with the dot) for a MIME type, ".bin" when unknown.
std::string ExtensionForType(const std::string& type, const std::string& subtype);

// `given` without any directory part and control characters; empty when
// nothing usable is left.
std::string CleanFileName(const std::string& given);

// "attachment-N" plus the extension for the type.
std::string GeneratedFileName(size_t number, const std::string& type,
                              const std::string& subtype);

}  // namespace vimport

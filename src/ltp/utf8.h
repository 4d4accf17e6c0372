// UTF-8 to UTF-16LE conversions for property strings.
#pragma once

#include <string>

#include "core/coding.h"

namespace virel {
namespace ltp {

// Converts like the platform's UTF-8 decoder (MultiByteToWideChar with
// CP_UTF8 and no flags): ill-formed input becomes U+FFFD, no terminator.
// Empty input, or input the conversion rejects, gives no bytes.
Bytes Utf8ToUtf16(const std::string& utf8);

// Lenient byte-by-byte decoding with a trailing 2-byte terminator.
// Continuation bytes are not checked; a lead byte whose sequence runs past
// the end, or any other stray byte, is dropped.
Bytes Utf8ToUtf16Terminated(const std::string& utf8);

}  // namespace ltp
}  // namespace virel

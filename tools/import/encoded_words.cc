#include "encoded_words.h"

#include <glib.h>

#include "text_charset.h"

namespace vimport {
namespace {

constexpr char kOpen[] = "=?";
constexpr char kClose[] = "?=";

struct EncodedWord {
  size_t begin = 0;
  size_t end = 0;  // one past the closing "?="
  std::string charset;
  std::string bytes;  // decoded
};

std::string DecodeQ(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '_') {
      out.push_back(' ');
    } else if (text[i] == '=' && i + 2 < text.size() && g_ascii_isxdigit(text[i + 1]) &&
               g_ascii_isxdigit(text[i + 2])) {
      out.push_back(static_cast<char>(g_ascii_xdigit_value(text[i + 1]) * 16 +
                                      g_ascii_xdigit_value(text[i + 2])));
      i += 2;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

std::string DecodeB(const std::string& text) {
  std::string out(text.size() * 3 / 4 + 3, '\0');
  gint state = 0;
  guint save = 0;
  const gsize n = g_base64_decode_step(text.data(), text.size(),
                                       reinterpret_cast<guchar*>(&out[0]), &state, &save);
  out.resize(n);
  return out;
}

// Reads the encoded word starting at `at` ("=?charset?e?text?="); false
// when it is not one.
bool ReadWord(const std::string& raw, size_t at, EncodedWord* word) {
  const size_t charset_end = raw.find('?', at + 2);
  if (charset_end == std::string::npos || charset_end + 2 >= raw.size() ||
      raw[charset_end + 2] != '?') {
    return false;
  }
  const char encoding = g_ascii_toupper(raw[charset_end + 1]);
  const size_t text_begin = charset_end + 3;
  const size_t close = raw.find(kClose, text_begin);
  if ((encoding != 'B' && encoding != 'Q') || close == std::string::npos) return false;
  const std::string text = raw.substr(text_begin, close - text_begin);
  if (text.find_first_of(" \t\r\n") != std::string::npos) return false;
  word->begin = at;
  word->end = close + 2;
  // RFC 2231 adds "*language" to the charset.
  word->charset = raw.substr(at + 2, charset_end - at - 2);
  word->charset = word->charset.substr(0, word->charset.find('*'));
  word->bytes = encoding == 'B' ? DecodeB(text) : DecodeQ(text);
  return !word->charset.empty();
}

bool OnlySpace(const std::string& raw, size_t begin, size_t end) {
  for (size_t i = begin; i < end; ++i) {
    if (!g_ascii_isspace(raw[i])) return false;
  }
  return true;
}

std::string Base64(const std::string& bytes) {
  gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size());
  std::string out(encoded);
  g_free(encoded);
  return out;
}

std::string DecodeRun(const std::string& bytes, const std::string& charset,
                      std::vector<std::string>* problems) {
  std::string problem;
  std::string text = TextToUtf8(bytes, charset, &problem);
  if (!problem.empty()) problems->push_back("encoded word: " + problem);
  return text;
}

}  // namespace

std::string RepairEncodedWords(const std::string& raw, std::vector<std::string>* problems) {
  std::string out;
  size_t pos = 0;
  while (pos < raw.size()) {
    const size_t at = raw.find(kOpen, pos);
    EncodedWord word;
    if (at == std::string::npos) break;
    if (!ReadWord(raw, at, &word)) {
      out.append(raw, pos, at + 2 - pos);
      pos = at + 2;
      continue;
    }
    out.append(raw, pos, at - pos);
    // Words separated by space only become one word (GMime joins adjacent
    // words of one charset before decoding, which padding would cut short);
    // runs of one charset are decoded together.
    std::string text;
    std::string run = word.bytes;
    EncodedWord next;
    size_t end = word.end;
    while (end < raw.size()) {
      const size_t following = raw.find(kOpen, end);
      if (following == std::string::npos || !OnlySpace(raw, end, following) ||
          !ReadWord(raw, following, &next)) {
        break;
      }
      if (g_ascii_strcasecmp(next.charset.c_str(), word.charset.c_str()) == 0) {
        run += next.bytes;
      } else {
        text += DecodeRun(run, word.charset, problems);
        word = next;
        run = next.bytes;
      }
      end = next.end;
    }
    text += DecodeRun(run, word.charset, problems);
    out += "=?UTF-8?B?" + Base64(text) + kClose;
    pos = end;
  }
  if (pos < raw.size()) out.append(raw, pos, std::string::npos);
  return out;
}

}  // namespace vimport

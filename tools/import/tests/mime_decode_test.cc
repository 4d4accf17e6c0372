// Part contents are decoded in place, in pieces: the bytes must be exactly
// those GMime's own decoding filter gives, whatever the encoding, the size
// and where the pieces split the input.
#include <gmime/gmime.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "gmime_init.h"
#include "gobject_ptr.h"
#include "mime_reader.h"
#include "single_byte_table.h"
#include "text_charset.h"

namespace vimport {
namespace {

std::string Encode(GMimeContentEncoding encoding, const std::string& data) {
  GMimeEncoding state;
  g_mime_encoding_init_encode(&state, encoding);
  std::string out(g_mime_encoding_outlen(&state, data.size()) + 64, '\0');
  const size_t n = g_mime_encoding_flush(&state, data.data(), data.size(), &out[0]);
  out.resize(n);
  return out;
}

// Any byte but line breaks, which quoted-printable does not keep as such.
std::string RandomBytes(size_t size, unsigned seed) {
  std::mt19937 rng(seed);
  std::string out(size, '\0');
  for (char& c : out) {
    do {
      c = static_cast<char>(rng() & 0xff);
    } while (c == '\r' || c == '\n');
  }
  return out;
}

// A message with one attachment part holding `body` as it stands.
std::string WithPart(const char* encoding, const std::string& body) {
  return std::string("Subject: parts\nContent-Type: multipart/mixed; boundary=\"=b=\"\n\n"
                     "--=b=\nContent-Type: text/plain\n\ntext\n"
                     "--=b=\nContent-Type: application/octet-stream; name=a.bin\n"
                     "Content-Transfer-Encoding: ") +
         encoding + "\n\n" + body + "\n--=b=--\n";
}

// The attachment's bytes as GMime's decoding filter gives them.
std::string FilterDecoded(const std::string& raw) {
  InitGMimeOnce();
  GObjectPtr<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(raw.data(), raw.size()));
  GObjectPtr<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
  GObjectPtr<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), nullptr));
  GMimeMultipart* mixed = GMIME_MULTIPART(g_mime_message_get_mime_part(message.get()));
  GMimePart* part = GMIME_PART(g_mime_multipart_get_part(mixed, 1));
  GObjectPtr<GMimeStream> out(g_mime_stream_mem_new());
  g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(part), out.get());
  GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(out.get()));
  return std::string(reinterpret_cast<const char*>(bytes->data), bytes->len);
}

std::string Decoded(const std::string& raw) {
  const MailItem item = ParseMessage(raw);
  EXPECT_EQ(item.attachments.size(), 1u);
  return item.attachments.empty() ? std::string() : item.attachments[0].data;
}

TEST(PartDecoding, EveryEncodingAndSizeGivesTheOriginalBytes) {
  // Around the size of one decoding piece, and several pieces.
  for (size_t size : {0u, 1u, 2u, 12287u, 16383u, 16384u, 16385u, 49153u, 200000u}) {
    const std::string data = RandomBytes(size, static_cast<unsigned>(size));
    const std::string base64 = Encode(GMIME_CONTENT_ENCODING_BASE64, data);
    const std::string qp = Encode(GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE, data);
    // Compared whole: a mismatch would print megabytes.
    EXPECT_TRUE(Decoded(WithPart("base64", base64)) == data) << size;
    EXPECT_TRUE(Decoded(WithPart("quoted-printable", qp)) == data) << size;
    // Unencoded content keeps its bytes; the line break before the
    // boundary belongs to the boundary.
    const std::string text(size, 'x');
    EXPECT_TRUE(Decoded(WithPart("8bit", text)) == text) << size;
  }
  const std::string uu = "begin 644 a.bin\n" +
                         Encode(GMIME_CONTENT_ENCODING_UUENCODE, "uuencoded bytes\x01\xff") +
                         "end";
  EXPECT_EQ(Decoded(WithPart("x-uuencode", uu)), "uuencoded bytes\x01\xff");
}

TEST(PartDecoding, BrokenEncodingsDecodeAsGMimeFilterDoes) {
  std::string base64 = Encode(GMIME_CONTENT_ENCODING_BASE64, RandomBytes(40000, 3));
  base64.insert(16380, "!*\n  ===");  // junk and padding across a piece boundary
  base64.resize(base64.size() - 7);     // and a cut-off last quantum
  // A soft break and an escape split at the piece boundary, a bad escape.
  std::string qp = std::string(16383, 'q') + "=\n=4" + "1=ZZ=\r\nend=";
  const std::string uu_no_begin = Encode(GMIME_CONTENT_ENCODING_UUENCODE, "no begin line");
  const std::vector<std::string> raws = {
      WithPart("base64", base64), WithPart("quoted-printable", qp),
      WithPart("x-uuencode", uu_no_begin), WithPart("binary", std::string("\0\r\n\0", 4)),
      WithPart("no-such-encoding", "as is\n")};
  for (const std::string& raw : raws) {
    EXPECT_TRUE(Decoded(raw) == FilterDecoded(raw)) << raw.substr(0, 200);
  }
}

TEST(PartDecoding, ReadsOnlyTheBytesItIsGiven) {
  const std::string message =
      "Subject: only this\nContent-Type: text/plain\n"
      "Content-Transfer-Encoding: base64\n\naGVsbG8h";
  // The bytes after the message would change its body if they were read.
  const std::string buffer = message + "d29ybGQh\n";
  const MailItem item = ParseMessage(std::string_view(buffer).substr(0, message.size()));
  EXPECT_EQ(item.subject, "only this");
  EXPECT_EQ(item.body_plain, "hello!");
}

TEST(TextCharset, ConvertersStartEveryTextAfresh) {
  std::string problem;
  // Ends inside a two-byte JIS run, on a byte JIS does not define.
  TextToUtf8("\x1b$B$3\xff", "ISO-2022-JP", &problem);
  EXPECT_FALSE(problem.empty());
  problem.clear();
  // Read from the initial ASCII state, not as JIS pairs.
  EXPECT_EQ(TextToUtf8("abc", "ISO-2022-JP", &problem), "abc");
  EXPECT_EQ(TextToUtf8("\x1b$B$3$s\x1b(B!", "ISO-2022-JP", &problem), "\xe3\x81\x93\xe3\x82\x93!");
  EXPECT_EQ(TextToUtf8("caf\xe9", "iso-8859-1", &problem), "caf\xc3\xa9");
  EXPECT_EQ(TextToUtf8("\xe9\xf4\xe9", "koi8-r", &problem), "\xd0\x98\xd0\xa2\xd0\x98");
  EXPECT_TRUE(problem.empty());
}

// iconv's whole-text conversion, or nothing when it fails.
std::optional<std::string> IconvWhole(const std::string& text, const char* charset) {
  gsize written = 0;
  GError* error = nullptr;
  gchar* out = g_convert(text.data(), static_cast<gssize>(text.size()), "UTF-8", charset,
                         nullptr, &written, &error);
  if (out == nullptr) {
    g_clear_error(&error);
    return std::nullopt;
  }
  std::string result(out, written);
  g_free(out);
  return result;
}

TEST(SingleByteTable, ConvertsAsIconvDoesAndOnlyForPlainSingleByteCharsets) {
  std::mt19937 rng(11);
  for (const char* charset : {"CP1252", "ISO-8859-2", "ISO-8859-7", "KOI8-R", "IBM850",
                              "ISO-8859-1", "CP1251"}) {
    GIConv converter = g_iconv_open("UTF-8", charset);
    ASSERT_NE(converter, reinterpret_cast<GIConv>(-1)) << charset;
    const std::unique_ptr<SingleByteTable> table = SingleByteTable::Build(converter);
    ASSERT_NE(table, nullptr) << charset;
    for (int i = 0; i < 200; ++i) {
      std::string text(rng() % 40, '\0');
      for (char& c : text) c = static_cast<char>(rng() % 4 == 0 ? 0x80 + rng() % 128 : rng() % 128);
      std::string got = "kept:";
      const bool ok = table->Convert(text, &got);
      const std::optional<std::string> want = IconvWhole(text, charset);
      ASSERT_EQ(ok, want.has_value()) << charset << " " << i;
      if (ok) {
        EXPECT_EQ(got, "kept:" + *want) << charset << " " << i;
      }
    }
    g_iconv_close(converter);
  }
  // Multi-byte, stateful and composing charsets.
  for (const char* charset : {"UTF-8", "SHIFT_JIS", "ISO-2022-JP", "UTF-16LE", "UTF-7",
                              "CP1255", "CP1258", "GB18030"}) {
    GIConv converter = g_iconv_open("UTF-8", charset);
    ASSERT_NE(converter, reinterpret_cast<GIConv>(-1)) << charset;
    EXPECT_EQ(SingleByteTable::Build(converter), nullptr) << charset;
    g_iconv_close(converter);
  }
}

}  // namespace
}  // namespace vimport

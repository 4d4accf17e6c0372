#include "mime_reader.h"

#include <gmime/gmime.h>

#include <algorithm>
#include <memory>

#include "gmime_init.h"
#include "gobject_ptr.h"
#include "mime_addresses.h"
#include "mime_headers.h"
#include "mime_parts.h"
#include "parser_warnings.h"
#include "text_charset.h"

namespace vimport {
namespace {

// Raw 8-bit header text is tried as UTF-8, then as windows-1252.
const char* kHeaderFallbackCharsets[] = {"UTF-8", "windows-1252", nullptr};

struct ParserOptionsFree {
  void operator()(GMimeParserOptions* options) const {
    g_mime_parser_options_free(options);
  }
};
using ParserOptionsPtr = std::unique_ptr<GMimeParserOptions, ParserOptionsFree>;

// Options for decoding: raw 8-bit text read through the fallbacks.
ParserOptionsPtr MakeOptions() {
  ParserOptionsPtr options(g_mime_parser_options_new());
  g_mime_parser_options_set_fallback_charsets(options.get(), kHeaderFallbackCharsets);
  return options;
}

// A GMime memory stream that reads `bytes` where they lie instead of
// copying them. The bytes are never written to; they, and the array,
// must outlive the stream and everything parsed from it.
class BorrowedBytes {
 public:
  explicit BorrowedBytes(std::string_view bytes)
      : data_(const_cast<guint8*>(reinterpret_cast<const guint8*>(bytes.data()))),
        array_(bytes.empty() ? g_byte_array_new()
                             : g_byte_array_new_take(data_, std::min<size_t>(
                                                                bytes.size(), G_MAXUINT))) {}
  ~BorrowedBytes() {
    guint8* segment = g_byte_array_free(array_, FALSE);
    if (segment != data_) g_free(segment);  // the array's own, not ours
  }
  BorrowedBytes(const BorrowedBytes&) = delete;
  BorrowedBytes& operator=(const BorrowedBytes&) = delete;

  GObjectPtr<GMimeStream> NewStream() const {
    GObjectPtr<GMimeStream> stream(g_mime_stream_mem_new_with_byte_array(array_));
    g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(stream.get()), FALSE);
    return stream;
  }

 private:
  guint8* data_;
  GByteArray* array_;
};

void ReadDate(GMimeMessage* message, MailItem* item) {
  GDateTime* date = g_mime_message_get_date(message);
  if (date != nullptr) {
    item->time = g_date_time_to_unix(date);
    item->has_time = true;
  } else if (g_mime_object_get_header(GMIME_OBJECT(message), "Date") != nullptr) {
    item->problems.push_back("Date header could not be read");
  }
}

// The mailboxes of every `name` header. GMime parsed them with the
// message; they are parsed again only when an encoded word needs repair.
std::vector<Address> AddressesOf(GMimeMessage* message, const HeaderReader& headers,
                                 const char* name, GMimeAddressType type) {
  if (headers.HasEncodedWord(name)) return headers.Addresses(name);
  return FlattenAddresses(g_mime_message_get_addresses(message, type));
}

void ReadHeaders(GMimeMessage* message, GMimeParserOptions* options, MailItem* item) {
  const HeaderReader headers(GMIME_OBJECT(message), options, &item->problems);
  item->subject = headers.Text("Subject");
  std::vector<Address> from = AddressesOf(message, headers, "From", GMIME_ADDRESS_TYPE_FROM);
  if (!from.empty()) item->from = from.front();
  item->to = AddressesOf(message, headers, "To", GMIME_ADDRESS_TYPE_TO);
  item->cc = AddressesOf(message, headers, "Cc", GMIME_ADDRESS_TYPE_CC);
  item->bcc = AddressesOf(message, headers, "Bcc", GMIME_ADDRESS_TYPE_BCC);
  ReadDate(message, item);
}

// A thread's parser and options, reused from message to message: making
// them costs more than parsing a short message.
struct ThreadParser {
  ParserOptionsPtr warned = MakeOptions();  // warnings go to the item
  // Headers are decoded again from their raw values: warnings were given.
  ParserOptionsPtr quiet = MakeOptions();
  GObjectPtr<GMimeParser> parser{g_mime_parser_new()};
};

// Points the thread's warnings at one item while it is parsed.
class WarningsTo {
 public:
  WarningsTo(GMimeParserOptions* options, std::vector<std::string>* problems)
      : options_(options) {
    g_mime_parser_options_set_warning_callback(options_, RecordParserWarning, problems);
  }
  ~WarningsTo() { g_mime_parser_options_set_warning_callback(options_, nullptr, nullptr); }
  WarningsTo(const WarningsTo&) = delete;
  WarningsTo& operator=(const WarningsTo&) = delete;

 private:
  GMimeParserOptions* options_;
};

void ParseInto(std::string_view raw, ThreadParser* p, MailItem* item) {
  const WarningsTo warnings(p->warned.get(), &item->problems);
  const BorrowedBytes bytes(raw);
  GObjectPtr<GMimeStream> stream = bytes.NewStream();
  g_mime_parser_init_with_stream(p->parser.get(), stream.get());
  GObjectPtr<GMimeMessage> message(
      g_mime_parser_construct_message(p->parser.get(), p->warned.get()));
  if (message == nullptr) {
    item->problems.push_back("not readable as a MIME message; kept whole as the body");
    std::string problem;
    item->body_plain = TextToUtf8(std::string(raw), "", &problem);
    return;
  }
  ReadHeaders(message.get(), p->quiet.get(), item);
  PartCollector(p->quiet.get(), item).Collect(g_mime_message_get_mime_part(message.get()));
}

}  // namespace

MailItem ParseMessage(std::string_view raw) {
  InitGMimeOnce();
  static thread_local ThreadParser parser;
  MailItem item;
  ParseInto(raw, &parser, &item);
  return item;
}

}  // namespace vimport

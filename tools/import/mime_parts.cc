#include "mime_parts.h"

#include <string>

#include "attachment_name.h"
#include "gobject_ptr.h"
#include "mime_headers.h"
#include "text_charset.h"

namespace vimport {
namespace {

// GMime bounds nesting while parsing; this keeps the walk bounded as well.
constexpr int kMaxDepth = 64;
// Encoded content is read in pieces of this size and decoded straight
// into the result.
constexpr size_t kDecodeChunkBytes = 16 * 1024;

bool IsType(GMimeObject* object, const char* type, const char* subtype) {
  return g_mime_content_type_is_type(g_mime_object_get_content_type(object), type,
                                     subtype);
}

bool MarkedAttachment(GMimeObject* object) {
  const char* disposition = g_mime_object_get_disposition(object);
  return disposition != nullptr &&
         g_ascii_strcasecmp(disposition, GMIME_DISPOSITION_ATTACHMENT) == 0;
}

std::string TakeStream(GMimeStream* stream) {
  GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream));
  return std::string(reinterpret_cast<const char*>(bytes->data), bytes->len);
}

std::string OrEmpty(const char* text) { return text == nullptr ? "" : text; }

// Decodes the content straight into `out` with GMime's step decoders: the
// bytes its decoding filter gives, without the filter stream and the copy
// out of a memory stream. False on a read error.
bool DecodeInPlace(GMimeDataWrapper* content, std::string* out) {
  GMimeStream* source = g_mime_data_wrapper_get_stream(content);
  GMimeEncoding state;
  g_mime_encoding_init_decode(&state, g_mime_data_wrapper_get_encoding(content));
  const gint64 length = g_mime_stream_length(source);
  if (length > 0) out->reserve(g_mime_encoding_outlen(&state, static_cast<size_t>(length)));
  if (g_mime_stream_reset(source) < 0) return false;
  char chunk[kDecodeChunkBytes];
  for (;;) {
    const ssize_t n = g_mime_stream_read(source, chunk, sizeof chunk);
    if (n < 0) return false;
    if (n == 0) break;
    const size_t at = out->size();
    out->resize(at + g_mime_encoding_outlen(&state, static_cast<size_t>(n)));
    out->resize(at + g_mime_encoding_step(&state, chunk, static_cast<size_t>(n), &(*out)[at]));
  }
  const size_t at = out->size();
  out->resize(at + g_mime_encoding_outlen(&state, 0));
  out->resize(at + g_mime_encoding_flush(&state, chunk, 0, &(*out)[at]));
  return g_mime_stream_reset(source) == 0;
}

// Decodes through GMime's filter, which also finds uuencode's "begin" line.
bool DecodeThroughFilter(GMimeDataWrapper* content, std::string* out) {
  GObjectPtr<GMimeStream> stream(g_mime_stream_mem_new());
  const bool ok = g_mime_data_wrapper_write_to_stream(content, stream.get()) >= 0;
  *out = TakeStream(stream.get());
  return ok;
}

}  // namespace

void PartCollector::Visit(GMimeObject* object, int depth) {
  if (object == nullptr) return;
  if (depth > kMaxDepth) {
    item_->problems.push_back("parts nested too deeply; deeper parts skipped");
    return;
  }
  if (GMIME_IS_MULTIPART(object)) {
    GMimeMultipart* multipart = GMIME_MULTIPART(object);
    const int count = g_mime_multipart_get_count(multipart);
    for (int i = 0; i < count; ++i) {
      Visit(g_mime_multipart_get_part(multipart, i), depth + 1);
    }
    if (count == 0) KeepPrologue(multipart);
  } else if (GMIME_IS_MESSAGE_PART(object)) {
    AddAttachment(object, MessageBytes(GMIME_MESSAGE_PART(object)));
  } else if (GMIME_IS_PART(object)) {
    VisitLeaf(GMIME_PART(object));
  }
}

void PartCollector::VisitLeaf(GMimePart* part) {
  GMimeObject* object = GMIME_OBJECT(part);
  std::string* body = nullptr;
  if (!MarkedAttachment(object)) {
    if (IsType(object, "text", "plain")) body = &item_->body_plain;
    if (IsType(object, "text", "html")) body = &item_->body_html;
  }
  if (body == nullptr || !body->empty()) {
    AddAttachment(object, Content(part));
    return;
  }
  std::string problem;
  *body = TextToUtf8(Content(part),
                     OrEmpty(g_mime_object_get_content_type_parameter(object, "charset")),
                     &problem);
  if (!problem.empty()) item_->problems.push_back("body: " + problem);
}

void PartCollector::KeepPrologue(GMimeMultipart* multipart) {
  const std::string text = OrEmpty(g_mime_multipart_get_prologue(multipart));
  if (text.empty()) return;
  std::string problem;
  std::string utf8 = TextToUtf8(text, "", &problem);
  if (!problem.empty()) item_->problems.push_back("body: " + problem);
  if (item_->body_plain.empty()) {
    item_->body_plain = std::move(utf8);
  } else {
    item_->attachments.push_back({GeneratedFileName(item_->attachments.size() + 1, "text", "plain"), text});
  }
}

std::string PartCollector::GivenFileName(GMimeObject* object) {
  const HeaderReader headers(object, options_, &item_->problems);
  std::string name = headers.DispositionParameter("filename");
  if (name.empty()) name = headers.TypeParameter("name");
  return CleanFileName(name);
}

void PartCollector::AddAttachment(GMimeObject* object, std::string data) {
  Attachment attachment;
  attachment.file_name = GivenFileName(object);
  if (attachment.file_name.empty()) {
    GMimeContentType* type = g_mime_object_get_content_type(object);
    attachment.file_name = GeneratedFileName(
        item_->attachments.size() + 1, OrEmpty(g_mime_content_type_get_media_type(type)),
        OrEmpty(g_mime_content_type_get_media_subtype(type)));
  }
  attachment.data = std::move(data);
  item_->attachments.push_back(std::move(attachment));
}

std::string PartCollector::Content(GMimePart* part) {
  GMimeDataWrapper* content = g_mime_part_get_content(part);
  std::string out;
  if (content == nullptr) return out;
  const bool decoded =
      g_mime_data_wrapper_get_stream(content) != nullptr &&
      (g_mime_data_wrapper_get_encoding(content) == GMIME_CONTENT_ENCODING_UUENCODE
           ? DecodeThroughFilter(content, &out)
           : DecodeInPlace(content, &out));
  if (!decoded) item_->problems.push_back("a part's content could not be decoded");
  return out;
}

std::string PartCollector::MessageBytes(GMimeMessagePart* part) {
  GMimeMessage* message = g_mime_message_part_get_message(part);
  if (message == nullptr) return std::string();
  GObjectPtr<GMimeStream> stream(g_mime_stream_mem_new());
  if (g_mime_object_write_to_stream(GMIME_OBJECT(message), nullptr, stream.get()) < 0) {
    item_->problems.push_back("an attached message could not be written out");
  }
  return TakeStream(stream.get());
}

}  // namespace vimport

// Sorts the parts of a parsed message into its bodies and attachments.
#pragma once

#include <gmime/gmime.h>

#include "items.h"

namespace vimport {

// The first text/plain and the first text/html part that are not marked as
// attachments become the bodies (both sides of a multipart/alternative
// this way). Every other leaf part, including further inline text parts,
// becomes an attachment with its decoded bytes, so nothing is dropped; an
// attached message (message/rfc822) becomes one .eml attachment holding it.
class PartCollector {
 public:
  // `options` decode header values; they must outlive the collector.
  PartCollector(GMimeParserOptions* options, MailItem* item)
      : options_(options), item_(item) {}

  // Walks the tree under `root` (may be null) in document order.
  void Collect(GMimeObject* root) { Visit(root, 0); }

 private:
  void Visit(GMimeObject* object, int depth);
  void VisitLeaf(GMimePart* part);
  // A multipart whose boundary never shows holds all its text in the
  // prologue: keep it as plain text.
  void KeepPrologue(GMimeMultipart* multipart);
  void AddAttachment(GMimeObject* object, std::string data);
  // Bytes GMime decodes from the transfer encoding; empty when none.
  std::string Content(GMimePart* part);
  // The whole attached message as bytes.
  std::string MessageBytes(GMimeMessagePart* part);

  // The name the part gives: Content-Disposition filename, else the
  // Content-Type name; made safe as a plain name.
  std::string GivenFileName(GMimeObject* object);

  GMimeParserOptions* options_;
  MailItem* item_;
};

}  // namespace vimport

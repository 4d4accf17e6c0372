// Header values of one message or part, read from their raw bytes with
// encoded words repaired first (see encoded_words.h), then decoded by GMime.
#pragma once

#include <gmime/gmime.h>

#include <string>
#include <vector>

#include "items.h"

namespace vimport {

class HeaderReader {
 public:
  // `options` and `problems` must outlive the reader.
  HeaderReader(GMimeObject* object, GMimeParserOptions* options,
               std::vector<std::string>* problems)
      : object_(object), options_(options), problems_(problems) {}

  // The decoded text of the first `name` header; empty when there is none.
  std::string Text(const char* name) const;

  // The mailboxes of every `name` header, groups flattened.
  std::vector<Address> Addresses(const char* name) const;

  // Whether a `name` header holds something that looks like an encoded
  // word, which only the repaired value decodes right.
  bool HasEncodedWord(const char* name) const;

  // A parameter of the Content-Disposition or Content-Type header; empty
  // when absent.
  std::string DispositionParameter(const char* name) const;
  std::string TypeParameter(const char* name) const;

 private:
  // The raw values of every `name` header with encoded words repaired.
  std::vector<std::string> Values(const char* name) const;

  GMimeObject* object_;
  GMimeParserOptions* options_;
  std::vector<std::string>* problems_;
};

}  // namespace vimport

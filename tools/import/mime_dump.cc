// virel-mime-dump: parses one message file as virel-import does and prints
// what it read as JSON, for tests that compare it with other decoders.
// Usage: virel-mime-dump FILE
#include <glib.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

#include "mime_reader.h"

namespace {

using nlohmann::json;

std::string Base64(const std::string& data) {
  gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(data.data()), data.size());
  std::string out(encoded);
  g_free(encoded);
  return out;
}

json AddressJson(const vimport::Address& address) {
  return {{"name", address.name}, {"address", address.address}};
}

json AddressesJson(const std::vector<vimport::Address>& addresses) {
  json out = json::array();
  for (const vimport::Address& address : addresses) out.push_back(AddressJson(address));
  return out;
}

json ItemJson(const vimport::MailItem& item) {
  json attachments = json::array();
  for (const vimport::Attachment& attachment : item.attachments) {
    attachments.push_back({{"file_name", attachment.file_name},
                           {"size", attachment.data.size()},
                           {"data_base64", Base64(attachment.data)}});
  }
  json out = {{"subject", item.subject},
              {"from", AddressJson(item.from)},
              {"to", AddressesJson(item.to)},
              {"cc", AddressesJson(item.cc)},
              {"bcc", AddressesJson(item.bcc)},
              {"body_plain", item.body_plain},
              {"body_html", item.body_html},
              {"attachments", attachments},
              {"problems", item.problems}};
  out["time"] = item.has_time ? json(item.time) : json(nullptr);
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: virel-mime-dump FILE\n";
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  if (!in) {
    std::cerr << "virel-mime-dump: cannot open " << argv[1] << "\n";
    return 2;
  }
  const std::string raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::cout << ItemJson(vimport::ParseMessage(raw)).dump(2) << "\n";
  return 0;
}

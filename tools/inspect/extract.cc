#include "extract.h"

#include <filesystem>
#include <fstream>

namespace inspect {

namespace {

namespace fs = std::filesystem;

std::string safeName(const std::string& name) {
  std::string out;
  for (char c : name) {
    bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
                 c == '-' || c == '_';
    out += plain ? c : '_';
  }
  return out.empty() || out == "." || out == ".." ? "attachment" : out;
}

bool writeFile(const fs::path& path, const vread::Bytes& bytes) {
  std::ofstream f(path, std::ios::binary);
  f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(f);
}

}  // namespace

bool extractAttachments(const vread::Mailbox& m, const std::string& dir, std::ostream& log) {
  std::error_code ec;
  fs::create_directories(fs::u8path(dir), ec);
  if (ec) {
    log << "cannot create " << dir << ": " << ec.message() << "\n";
    return false;
  }
  bool ok = true;
  for (const auto& f : m.folders())
    for (const auto& it : f.items)
      for (const auto& a : it.attachments) {
        auto bytes = m.attachmentData(a);
        fs::path path = fs::u8path(dir) / fs::u8path(vread::hex(it.nid) + "_" + std::to_string(a.number) + "_" +
                                                     safeName(a.name));
        if (!bytes || !writeFile(path, *bytes)) {
          log << "cannot write " << path.u8string() << "\n";
          ok = false;
          continue;
        }
        log << "wrote " << path.u8string() << " (" << bytes->size() << " bytes)\n";
      }
  return ok;
}

}  // namespace inspect

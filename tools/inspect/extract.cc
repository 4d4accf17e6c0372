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
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  f.close();
  return !f.fail();
}

}  // namespace

bool extractAttachments(const vread::Mailbox& m, const std::string& dir, bool overwrite, std::ostream& log) {
  std::error_code ec;
  const fs::path base = fs::u8path(dir);
  fs::create_directories(base, ec);
  if (ec || !fs::is_directory(base, ec)) {
    log << "cannot create directory " << dir << (ec ? ": " + ec.message() : std::string()) << "\n";
    return false;
  }
  bool ok = true;
  std::size_t written = 0, total = 0;
  for (const auto& f : m.folders())
    for (const auto& it : f.items)
      for (const auto& a : it.attachments) {
        ++total;
        const fs::path path =
            base / fs::u8path(vread::hex(it.nid) + "_" + std::to_string(a.number) + "_" + safeName(a.name));
        auto bytes = m.attachmentData(a);
        if (!bytes) {
          log << "skipped attachment " << a.number << " of item " << vread::hex(it.nid)
              << ": the file does not hold its data\n";
        } else if (!overwrite && fs::exists(fs::symlink_status(path, ec))) {
          log << "refusing to overwrite " << path.u8string() << " (use --force)\n";
          ok = false;
        } else if (!writeFile(path, *bytes)) {
          log << "cannot write " << path.u8string() << "\n";
          ok = false;
        } else {
          log << "wrote " << path.u8string() << " (" << bytes->size() << " bytes)\n";
          ++written;
        }
      }
  log << "extracted " << written << " of " << total << " attachments into " << dir << "\n";
  return ok;
}

}  // namespace inspect

#include "input_scan.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "folder_names.h"
#include "mbox_file.h"

namespace vimport {
namespace fs = std::filesystem;
namespace {

constexpr size_t kSniffBytes = 4096;
constexpr char kThunderbirdSuffix[] = ".sbd";
constexpr char kCalendarBegin[] = "begin:vcalendar";
constexpr char kDefaultMessageFolder[] = "Inbox";

std::string Head(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::string head(kSniffBytes, '\0');
  in.read(&head[0], static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(in.gcount()));
  return head;
}

// "Name: value" with a field name of printable characters.
bool StartsWithHeaderField(const std::string& s) {
  size_t i = 0;
  while (i < s.size() && s[i] != ':') {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    if (c <= ' ' || c > '~') return false;
    ++i;
  }
  return i > 0 && i < s.size();
}

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) {
    return static_cast<char>(std::tolower(c));
  });
  return s;
}

std::vector<fs::path> SortedEntries(const fs::path& dir, std::error_code& ec) {
  std::vector<fs::path> entries;
  for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    entries.push_back(it->path());
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

bool IsDir(const fs::path& p) {
  std::error_code ec;
  return fs::is_directory(p, ec);
}

bool IsMaildir(const fs::path& p) {
  return IsDir(p / "cur") || IsDir(p / "new");
}

bool IsHidden(const fs::path& p) {
  const std::string name = p.filename().string();
  return !name.empty() && name[0] == '.';
}

class Scanner {
 public:
  explicit Scanner(ScanResult* out) : out_(out) {}

  void Input(const fs::path& path) {
    std::error_code ec;
    const fs::file_status st = fs::status(path, ec);
    if (ec || !fs::exists(st)) {
      out_->errors.push_back(path.string() + ": no such file or directory");
    } else if (fs::is_directory(st)) {
      InputDirectory(path);
    } else {
      InputFile(path);
    }
  }

 private:
  void InputDirectory(const fs::path& dir) {
    const std::string name = MailFolderName(Name(dir));
    if (IsMaildir(dir)) return Maildir(dir, name);
    // A directory of mail folders stands for the top of the mailbox; one of
    // loose messages is a folder of its own.
    Tree(dir, name, HoldsMailFolders(dir) ? "" : name);
  }

  void InputFile(const fs::path& path) {
    switch (SniffContent(Head(path))) {
      case ContentKind::kMbox:
        return Add(SourceKind::kMbox, path, MailFolderName(Name(path)));
      case ContentKind::kCalendar:
        return Add(SourceKind::kCalendar, path, "");
      case ContentKind::kMessage:
        return Add(SourceKind::kMessage, path, kDefaultMessageFolder);
      case ContentKind::kUnknown:
        out_->errors.push_back(path.string() +
                               ": not an mbox file, message, Maildir or calendar");
    }
  }

  // Messages in new/ then cur/, then the Maildir++ subfolders ".A.B".
  void Maildir(const fs::path& dir, const std::string& folder) {
    for (const char* sub : {"new", "cur"}) {
      std::error_code ec;
      for (const fs::path& f : SortedEntries(dir / sub, ec)) {
        if (!IsHidden(f) && !IsDir(f)) Add(SourceKind::kMessage, f, folder);
      }
    }
    std::error_code ec;
    for (const fs::path& sub : SortedEntries(dir, ec)) {
      const std::string name = Name(sub);
      if (name.size() < 2 || name[0] != '.' || !IsMaildir(sub)) continue;
      std::string path = name.substr(1);
      std::replace(path.begin(), path.end(), '.', '/');
      Maildir(sub, JoinFolder(folder, path));
    }
  }

  // Loose messages go to `folder`, mail folders below `parent`.
  void Tree(const fs::path& dir, const std::string& folder,
            const std::string& parent) {
    std::error_code ec;
    const std::vector<fs::path> entries = SortedEntries(dir, ec);
    if (ec) out_->errors.push_back(dir.string() + ": " + ec.message());
    for (const fs::path& entry : entries) {
      if (IsHidden(entry)) continue;
      const std::string name = Name(entry);
      if (IsDir(entry)) {
        if (IsThunderbirdDir(entry)) continue;  // read with its mbox
        const std::string sub = JoinFolder(parent, MailFolderName(name));
        if (IsMaildir(entry)) {
          Maildir(entry, sub);
        } else {
          Tree(entry, sub, sub);
        }
        continue;
      }
      TreeFile(entry, folder, parent);
    }
  }

  void TreeFile(const fs::path& file, const std::string& folder,
                const std::string& parent) {
    const fs::path sbd = file.string() + kThunderbirdSuffix;
    ContentKind kind = SniffContent(Head(file));
    // Thunderbird keeps an empty mbox beside the directory of subfolders.
    if (kind == ContentKind::kUnknown && IsDir(sbd)) kind = ContentKind::kMbox;
    switch (kind) {
      case ContentKind::kMbox: {
        const std::string sub = JoinFolder(parent, MailFolderName(Name(file)));
        Add(SourceKind::kMbox, file, sub);
        if (IsDir(sbd)) Tree(sbd, sub, sub);
        return;
      }
      case ContentKind::kCalendar:
        return Add(SourceKind::kCalendar, file, "");
      case ContentKind::kMessage:
        return Add(SourceKind::kMessage, file, folder);
      case ContentKind::kUnknown:
        out_->skipped.push_back(file.string());
    }
  }

  // A ".sbd" directory whose mbox lies beside it.
  static bool IsThunderbirdDir(const fs::path& dir) {
    const std::string s = dir.string();
    const size_t n = sizeof(kThunderbirdSuffix) - 1;
    if (s.size() <= n || s.compare(s.size() - n, n, kThunderbirdSuffix) != 0) {
      return false;
    }
    std::error_code ec;
    return fs::is_regular_file(s.substr(0, s.size() - n), ec);
  }

  static bool HoldsMailFolders(const fs::path& dir) {
    std::error_code ec;
    for (const fs::path& entry : SortedEntries(dir, ec)) {
      if (IsHidden(entry)) continue;
      if (IsDir(entry) ? IsMaildir(entry)
                       : SniffContent(Head(entry)) == ContentKind::kMbox) {
        return true;
      }
    }
    return false;
  }

  static std::string Name(const fs::path& p) {
    fs::path clean = p;
    if (!clean.has_filename()) clean = clean.parent_path();
    std::string name = clean.filename().string();
    if (name.empty() || name == "." || name == "..") {
      std::error_code ec;
      name = fs::absolute(clean, ec).lexically_normal().filename().string();
    }
    return name;
  }

  void Add(SourceKind kind, const fs::path& path, const std::string& folder) {
    out_->sources.push_back({kind, path.string(), folder});
  }

  ScanResult* out_;
};

}  // namespace

ContentKind SniffContent(const std::string& head) {
  if (LooksLikeMbox(head)) return ContentKind::kMbox;
  size_t start = head.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  while (start < head.size() &&
         std::isspace(static_cast<unsigned char>(head[start]))) {
    ++start;
  }
  const std::string opening = Lower(head.substr(start, sizeof(kCalendarBegin) - 1));
  if (opening == kCalendarBegin) return ContentKind::kCalendar;
  if (StartsWithHeaderField(head)) return ContentKind::kMessage;
  return ContentKind::kUnknown;
}

ScanResult ScanInputs(const std::vector<std::string>& inputs) {
  ScanResult result;
  Scanner scanner(&result);
  for (const std::string& input : inputs) scanner.Input(input);
  return result;
}

}  // namespace vimport

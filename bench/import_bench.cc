// virel-import's throughput on a generated 5,000-message mbox, beside the
// time GMime alone takes to parse the same mbox in the same run. The aim
// is an import that costs at most twice the parse.
// Usage: virel_import_bench [MESSAGES]
//        virel_import_bench --write-mbox PATH [MESSAGES]   (only writes the
//        mbox, to profile virel-import on it)
#include <fcntl.h>
#include <gmime/gmime.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "importer.h"
#include "mbox_file.h"
#include "mbox_stream.h"
#include "mime_reader.h"
#include "output_series.h"
#include "records.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr size_t kDefaultMessages = 5000;
constexpr size_t kHtmlEvery = 10;
constexpr size_t kAttachmentEvery = 25;
constexpr size_t kMaxAttachment = 300 * 1024;

std::string Base64(const std::string& data) {
  gchar* b64 = g_base64_encode(reinterpret_cast<const guchar*>(data.data()), data.size());
  std::string flat(b64), out;
  g_free(b64);
  for (size_t i = 0; i < flat.size(); i += 76) out += flat.substr(i, 76) + "\n";
  return out;
}

// Mostly short text mail, some HTML, some with an attachment.
std::string Message(size_t i, std::mt19937* rng) {
  std::string m = "From: =?UTF-8?Q?J=C3=B6rg_" + std::to_string(i) +
                  "?= <j@example.org>\nTo: a@example.org, B <b@example.org>\n"
                  "Cc: c@example.org\nSubject: =?UTF-8?B?w5xiZXJzaWNodA==?= " +
                  std::to_string(i) + "\nDate: Mon, 04 Mar 2024 10:12:45 +0100\n"
                  "MIME-Version: 1.0\n";
  const std::string text(200 + (*rng)() % 4000, 'w');
  if (i % kAttachmentEvery == 0) {
    m += "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: "
         "text/plain; charset=utf-8\n\n" + text + "\n--b\nContent-Type: "
         "application/pdf; name=r.pdf\nContent-Transfer-Encoding: base64\n\n" +
         Base64(std::string(1 + (*rng)() % kMaxAttachment, 'p')) + "--b--\n";
  } else if (i % kHtmlEvery == 0) {
    m += "Content-Type: multipart/alternative; boundary=a\n\n--a\nContent-Type: "
         "text/plain; charset=utf-8\n\n" + text + "\n--a\nContent-Type: text/html; "
         "charset=utf-8\n\n<html><body><p>" + text + "</p></body></html>\n--a--\n";
  } else {
    m += "Content-Type: text/plain; charset=iso-8859-1\n"
         "Content-Transfer-Encoding: quoted-printable\n\nGr=FC=DFe\n" + text + "\n";
  }
  return m;
}

// Every message of the mbox parsed by GMime's own mbox reader.
size_t ParseWithGMime(const std::string& path) {
  GMimeStream* stream = g_mime_stream_fs_open(path.c_str(), O_RDONLY, 0, nullptr);
  if (stream == nullptr) return 0;
  GMimeParser* parser = g_mime_parser_new_with_stream(stream);
  g_mime_parser_set_format(parser, GMIME_FORMAT_MBOX);
  size_t n = 0;
  while (!g_mime_parser_eos(parser)) {
    GMimeMessage* message = g_mime_parser_construct_message(parser, nullptr);
    if (message == nullptr) break;
    g_object_unref(message);
    ++n;
  }
  g_object_unref(parser);
  g_object_unref(stream);
  return n;
}

// Every message split off the mbox and decoded as the importer does,
// without writing anything.
size_t DecodeLikeTheImporter(const std::string& path) {
  vimport::MboxStream mbox(path);
  std::string_view raw;
  size_t n = 0;
  while (mbox.Next(&raw)) n += vimport::ParseMessage(raw).subject.empty() ? 0 : 1;
  return n;
}

// Every message decoded into the writer's record, before any is written.
std::vector<virel::MessageRecord> DecodedRecords(const std::string& path) {
  vimport::MboxStream mbox(path);
  std::vector<virel::MessageRecord> records;
  std::string_view raw;
  while (mbox.Next(&raw)) {
    records.push_back(vimport::ToMessageRecord(vimport::ParseMessage(raw)));
  }
  return records;
}

double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

void WriteMbox(const std::string& path, size_t count) {
  std::mt19937 rng(5);
  std::ofstream out(path, std::ios::binary);
  for (size_t i = 0; i < count; ++i) out << vimport::ToMboxEntry(Message(i, &rng));
}

}  // namespace

int main(int argc, char** argv) {
  const bool only_mbox = argc > 2 && std::string(argv[1]) == "--write-mbox";
  const int count_arg = only_mbox ? 3 : 1;
  const size_t count = argc > count_arg ? std::strtoul(argv[count_arg], nullptr, 10)
                                        : kDefaultMessages;
  if (only_mbox) {
    WriteMbox(argv[2], count);
    return 0;
  }
  g_mime_init();
  const fs::path dir = fs::temp_directory_path() / "virel_import_bench";
  fs::remove_all(dir);
  fs::create_directories(dir);
  const std::string mbox = (dir / "Inbox.mbox").string();
  WriteMbox(mbox, count);
  const double megabytes = static_cast<double>(fs::file_size(mbox)) / (1 << 20);

  Clock::time_point t = Clock::now();
  const size_t parsed = ParseWithGMime(mbox);
  const double parse_s = Seconds(t);

  t = Clock::now();
  const size_t decoded = DecodeLikeTheImporter(mbox);
  const double decode_s = Seconds(t);

  // The writer's share: the same records written, nothing decoded.
  std::vector<virel::MessageRecord> records = DecodedRecords(mbox);
  const size_t writer_messages = records.size();
  size_t writer_files = 0;
  t = Clock::now();
  {
    vimport::OutputSeries series((dir / "writer.pst").string());
    for (virel::MessageRecord& m : records) series.AddMessage("Inbox", std::move(m));
    series.Close();
    writer_files = series.files().size();
  }
  const double writer_s = Seconds(t);
  records.clear();

  vimport::ImportOptions options;
  options.output = (dir / "out.pst").string();
  options.inputs = {mbox};
  vimport::Progress quiet(false);
  t = Clock::now();
  const vimport::ImportReport report = vimport::RunImport(options, &quiet);
  const double import_s = Seconds(t);

  std::printf("mbox: %zu messages, %.1f MB\n", count, megabytes);
  std::printf("GMime parse alone: %zu messages in %.3f s (%.0f messages/s, %.1f MB/s)\n",
              parsed, parse_s, parsed / parse_s, megabytes / parse_s);
  std::printf("split and decode, nothing written: %zu messages in %.3f s\n", decoded,
              decode_s);
  std::printf("writer alone, decoded records in: %zu messages into %zu files in %.3f s\n",
              writer_messages, writer_files, writer_s);
  std::printf("import: %zu items into %zu files in %.3f s (%.0f messages/s, %.1f MB/s)\n",
              report.items.size(), report.files.size(), import_s,
              report.items.size() / import_s, megabytes / import_s);
  std::printf("import / parse: %.2fx (aim: at most 2x); writer alone / parse: %.2fx\n",
              import_s / parse_s, writer_s / parse_s);
  fs::remove_all(dir);
  return vimport::ExitCode(report) == vimport::kExitFailure ? 1 : 0;
}

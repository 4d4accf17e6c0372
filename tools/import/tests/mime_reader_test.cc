#include <gtest/gtest.h>

#include <string>

#include "attachment_name.h"
#include "mime_reader.h"
#include "text_charset.h"

namespace vimport {
namespace {

// Every text of an item is valid UTF-8.
void ExpectValidUtf8(const MailItem& item) {
  EXPECT_TRUE(IsValidUtf8(item.subject));
  EXPECT_TRUE(IsValidUtf8(item.from.name));
  EXPECT_TRUE(IsValidUtf8(item.from.address));
  for (const auto* list : {&item.to, &item.cc, &item.bcc}) {
    for (const Address& a : *list) {
      EXPECT_TRUE(IsValidUtf8(a.name));
      EXPECT_TRUE(IsValidUtf8(a.address));
    }
  }
  EXPECT_TRUE(IsValidUtf8(item.body_plain));
  EXPECT_TRUE(IsValidUtf8(item.body_html));
  for (const Attachment& a : item.attachments) EXPECT_TRUE(IsValidUtf8(a.file_name));
  for (const std::string& p : item.problems) EXPECT_TRUE(IsValidUtf8(p));
}

TEST(TextCharset, ConvertsDeclaredAndFallsBackWithoutLoss) {
  std::string problem;
  // Latin-1 labelled text; 0x93/0x94 are windows-1252 quotes.
  EXPECT_EQ(TextToUtf8("caf\xe9 \x93x\x94", "iso-8859-1", &problem),
            "caf\xc3\xa9 \xe2\x80\x9cx\xe2\x80\x9d");
  EXPECT_EQ(TextToUtf8("\x1b$B$3$s$K$A$O\x1b(B", "ISO-2022-JP", &problem),
            "\xe3\x81\x93\xe3\x82\x93\xe3\x81\xab\xe3\x81\xa1\xe3\x81\xaf");
  EXPECT_EQ(TextToUtf8(std::string("a\0b", 3), "us-ascii", &problem), std::string("a\0b", 3));
  EXPECT_TRUE(problem.empty());

  // Unknown charset over UTF-8 text: read as UTF-8.
  EXPECT_EQ(TextToUtf8("\xc3\xa9t\xc3\xa9", "x-no-such-charset", &problem), "\xc3\xa9t\xc3\xa9");
  EXPECT_NE(problem.find("x-no-such-charset"), std::string::npos);
  // Declared UTF-8 but not: windows-1252.
  problem.clear();
  EXPECT_EQ(TextToUtf8("na\xefve", "utf-8", &problem), "na\xc3\xafve");
  EXPECT_NE(problem.find("windows-1252"), std::string::npos);
  // A byte windows-1252 lacks (0x81) still comes through, as ISO-8859-1.
  problem.clear();
  EXPECT_EQ(TextToUtf8("a\x81z", "us-ascii", &problem), "a\xc2\x81z");
  EXPECT_NE(problem.find("ISO-8859-1"), std::string::npos);
  // Undeclared valid UTF-8 is no problem.
  problem.clear();
  EXPECT_EQ(TextToUtf8("\xe2\x82\xac", "", &problem), "\xe2\x82\xac");
  EXPECT_TRUE(problem.empty());
}

TEST(MimeReader, HeadersDecodeEncodedWordsAndRawBytes) {
  const MailItem item = ParseMessage(
      "From: =?iso-8859-1?Q?Andr=E9?= Dupont <andre@example.org>\r\n"
      "To: Team: a@example.org, \"B, Bea\" <b@example.org>;, c@example.org\r\n"
      "Cc: =?utf-8?B?w4lsaXNl?= <elise@example.org>\r\n"
      "Bcc: hidden@example.org\r\n"
      "Subject: =?utf-8?B?R3LDvMOfZQ==?= =?iso-8859-1?q?_und_K=FCsse?=\r\n"
      "Date: Tue, 02 Mar 2021 10:20:30 +0100\r\n"
      "\r\n"
      "Hi\r\n");
  EXPECT_EQ(item.subject, "Gr\xc3\xbc\xc3\x9f" "e und K\xc3\xbcsse");
  EXPECT_EQ(item.from.name, "Andr\xc3\xa9 Dupont");
  EXPECT_EQ(item.from.address, "andre@example.org");
  ASSERT_EQ(item.to.size(), 3u);  // the group's two members, then c
  EXPECT_EQ(item.to[0].address, "a@example.org");
  EXPECT_EQ(item.to[1].name, "B, Bea");
  EXPECT_EQ(item.to[2].address, "c@example.org");
  ASSERT_EQ(item.cc.size(), 1u);
  EXPECT_EQ(item.cc[0].name, "\xc3\x89lise");
  ASSERT_EQ(item.bcc.size(), 1u);
  EXPECT_TRUE(item.has_time);
  EXPECT_EQ(item.time, 1614676830);
  EXPECT_EQ(item.body_plain, "Hi\r\n");

  // Unencoded 8-bit headers in windows-1252, a broken Date.
  const MailItem raw = ParseMessage(
      "From: Ren\xe9 <rene@example.org>\nSubject: caf\xe9\nDate: someday\n\nx\n");
  EXPECT_EQ(raw.subject, "caf\xc3\xa9");
  EXPECT_EQ(raw.from.name, "Ren\xc3\xa9");
  EXPECT_FALSE(raw.has_time);
  EXPECT_FALSE(raw.problems.empty());
  ExpectValidUtf8(raw);
}

TEST(MimeReader, EncodedWordsKeepTheirTextWhateverTheCharset) {
  const MailItem item = ParseMessage(
      "From: =?x-unknown?Q?Jos=E9?= <jose@example.org>\n"
      // A character split across two words, padded words side by side.
      "Subject: =?utf-8?B?w4k=?= =?utf-8?B?wqk=?= =?us-ascii?Q?caf=E9?= "
      "=?utf-8?B?4oI=?= =?utf-8?B?rA==?=\n"
      "Content-Type: multipart/mixed; boundary=b\n\n"
      "--b\nContent-Type: application/pdf; name=\"=?x-bogus?Q?r=E9sum=E9.pdf?=\"\n\n%PDF\n"
      "--b\nContent-Type: text/plain; charset=\"\xf5\x01\"\n\nt\xe9xt\n--b--\n");
  EXPECT_EQ(item.from.name, "Jos\xc3\xa9");
  EXPECT_EQ(item.subject, "\xc3\x89\xc2\xa9" "caf\xc3\xa9\xe2\x82\xac");
  ASSERT_EQ(item.attachments.size(), 1u);
  EXPECT_EQ(item.attachments[0].file_name, "r\xc3\xa9sum\xc3\xa9.pdf");
  EXPECT_EQ(item.body_plain, "t\xc3\xa9xt");
  EXPECT_GE(item.problems.size(), 4u);  // each fallback is named
  ExpectValidUtf8(item);
}

TEST(MimeReader, BodyCharsetFallsBackAndIsRecorded) {
  const MailItem item = ParseMessage(
      "Subject: t\nContent-Type: text/plain; charset=us-ascii\n"
      "Content-Transfer-Encoding: quoted-printable\n\n"
      "Gr=FC=DFe =E2=82=AC\n");
  EXPECT_EQ(item.body_plain, "Gr\xc3\xbc\xc3\x9f" "e \xc3\xa2\xe2\x80\x9a\xc2\xac\n");
  ASSERT_EQ(item.problems.size(), 1u);
  EXPECT_NE(item.problems[0].find("us-ascii"), std::string::npos);
}

TEST(MimeReader, NestedPartsSortIntoBodiesAndAttachments) {
  const MailItem item = ParseMessage(
      "Subject: nested\nMIME-Version: 1.0\n"
      "Content-Type: multipart/mixed; boundary=outer\n\n"
      "preamble\n--outer\n"
      "Content-Type: multipart/alternative; boundary=alt\n\n"
      "--alt\nContent-Type: text/plain; charset=iso-8859-1\n"
      "Content-Transfer-Encoding: quoted-printable\n\nPlain =E9t=E9\n"
      "--alt\nContent-Type: multipart/related; boundary=rel\n\n"
      "--rel\nContent-Type: text/html; charset=utf-8\n\n<p>\xc3\xa9t\xc3\xa9</p>\n"
      "--rel\nContent-Type: image/png\nContent-Transfer-Encoding: base64\n"
      "Content-Disposition: inline\n\niVBORw0K\n"
      "--rel--\n--alt--\n"
      "--outer\nContent-Type: text/plain\n\nsecond inline text\n"
      "--outer\nContent-Type: application/octet-stream\n"
      "Content-Disposition: attachment; filename*=utf-8''na%C3%AFve%20r%C3%A9sum%C3%A9.bin\n"
      "Content-Transfer-Encoding: base64\n\nAAEC/w==\n"
      "--outer\nContent-Type: text/plain; name=\"=?utf-8?Q?notes_=C3=A0.txt?=\"\n"
      "Content-Disposition: attachment\n\nattached text\n"
      "--outer\nContent-Type: application/pdf\n"
      "Content-Disposition: attachment; filename*0*=utf-8''part%C3%A9; filename*1=\"two.pdf\"\n\n"
      "%PDF\n"
      "--outer\nContent-Type: application/x-thing\n"
      "Content-Disposition: attachment; filename=\"../../etc/passwd\"\n\nroot\n"
      "--outer--\n");
  EXPECT_EQ(item.body_plain, "Plain \xc3\xa9t\xc3\xa9");  // the newline belongs to the boundary
  EXPECT_EQ(item.body_html, "<p>\xc3\xa9t\xc3\xa9</p>");
  ASSERT_EQ(item.attachments.size(), 6u);
  EXPECT_EQ(item.attachments[0].file_name, "attachment-1.png");
  EXPECT_EQ(item.attachments[0].data, "\x89PNG\r\n");
  EXPECT_EQ(item.attachments[1].file_name, "attachment-2.txt");
  EXPECT_EQ(item.attachments[1].data, "second inline text");
  EXPECT_EQ(item.attachments[2].file_name, "na\xc3\xafve r\xc3\xa9sum\xc3\xa9.bin");
  EXPECT_EQ(item.attachments[2].data, std::string("\x00\x01\x02\xff", 4));
  EXPECT_EQ(item.attachments[3].file_name, "notes \xc3\xa0.txt");
  EXPECT_EQ(item.attachments[3].data, "attached text");
  EXPECT_EQ(item.attachments[4].file_name, "part\xc3\xa9two.pdf");
  EXPECT_EQ(item.attachments[5].file_name, "passwd");
  EXPECT_TRUE(item.problems.empty());
}

TEST(MimeReader, AttachedMessageIsKeptWholeAsEml) {
  const std::string inner =
      "From: inner@example.org\nSubject: =?utf-8?Q?inn=C3=A9r?=\n"
      "Content-Type: text/plain\n\ninner body\n";
  const MailItem item = ParseMessage(
      "Subject: outer\nContent-Type: multipart/mixed; boundary=b\n\n"
      "--b\nContent-Type: text/plain\n\nouter body\n"
      "--b\nContent-Type: message/rfc822\n\n" + inner + "\n"
      "--b\nContent-Type: message/rfc822\n"
      "Content-Disposition: attachment; filename=fwd.eml\n\n" + inner + "\n"
      "--b--\n");
  EXPECT_EQ(item.body_plain, "outer body");
  ASSERT_EQ(item.attachments.size(), 2u);
  EXPECT_EQ(item.attachments[0].file_name, "attachment-1.eml");
  EXPECT_EQ(item.attachments[1].file_name, "fwd.eml");
  EXPECT_EQ(item.attachments[0].data, inner);
  // The kept bytes read back as the same message.
  const MailItem again = ParseMessage(item.attachments[0].data);
  EXPECT_EQ(again.subject, "inn\xc3\xa9r");
  EXPECT_EQ(again.body_plain, "inner body\n");
}

TEST(MimeReader, MalformedInputKeepsItsText) {
  // Boundary never seen: the text is kept as the body.
  const MailItem lost = ParseMessage(
      "Subject: x\nContent-Type: multipart/mixed; boundary=nope\n\nall the text\n");
  EXPECT_EQ(lost.body_plain, "all the text\n");
  EXPECT_FALSE(lost.problems.empty());

  // Not a message at all.
  const std::string garbage("\x00\xff\xfe garbage\n\x80\x81\n\n\x01", 17);
  const MailItem junk = ParseMessage(garbage);
  ExpectValidUtf8(junk);
  EXPECT_NE(junk.body_plain.find("garbage"), std::string::npos);

  const MailItem empty = ParseMessage("");
  ExpectValidUtf8(empty);
  EXPECT_TRUE(empty.attachments.empty());
}

TEST(AttachmentName, CleansGivenNamesAndGeneratesTypedOnes) {
  EXPECT_EQ(CleanFileName("C:\\Users\\me\\report.doc"), "report.doc");
  EXPECT_EQ(CleanFileName(" a\tb.txt "), "ab.txt");
  EXPECT_EQ(CleanFileName("dir/.."), "");
  EXPECT_EQ(GeneratedFileName(3, "IMAGE", "JPEG"), "attachment-3.jpg");
  EXPECT_EQ(GeneratedFileName(1, "text", "x-weird"), "attachment-1.txt");
  EXPECT_EQ(GeneratedFileName(2, "application", "x-weird"), "attachment-2.bin");
}

}  // namespace
}  // namespace vimport

#include "records.h"

#include <utility>

namespace vimport {
namespace {

constexpr char kHtmlBodyName[] = "body.html";
constexpr char kPlainBodyName[] = "body.txt";

void AddRecipients(const std::vector<Address>& list, virel::RecipientKind kind,
                   virel::MessageRecord* m) {
  for (const Address& a : list) m->recipients.push_back({a.name, a.address, kind});
}

bool MoveText(std::string* text, const char* file_name, virel::MessageRecord* m) {
  if (text->empty()) return false;
  m->attachments.push_back(
      {file_name, virel::Bytes(text->begin(), text->end())});
  text->clear();
  return true;
}

}  // namespace

virel::MessageRecord ToMessageRecord(MailItem item) {
  virel::MessageRecord m;
  m.subject = std::move(item.subject);
  m.body_plain = std::move(item.body_plain);
  m.third_text = std::move(item.body_html);
  m.sender_name = std::move(item.from.name);
  m.sender_address = std::move(item.from.address);
  AddRecipients(item.to, virel::RecipientKind::kTo, &m);
  AddRecipients(item.cc, virel::RecipientKind::kCc, &m);
  AddRecipients(item.bcc, virel::RecipientKind::kBcc, &m);
  if (item.has_time) m.time = virel::SecondsToTicks(item.time);
  m.attachments.reserve(item.attachments.size());
  for (Attachment& a : item.attachments) {
    m.attachments.push_back(
        {std::move(a.file_name), virel::Bytes(a.data.begin(), a.data.end())});
    a.data = std::string();  // freed before the next copy is made
  }
  return m;
}

virel::EventRecord ToEventRecord(const EventItem& item) {
  virel::EventRecord e;
  e.subject = item.subject;
  e.body_plain = item.description;
  e.third_text = item.location;
  e.start = virel::SecondsToTicks(item.start);
  e.end = virel::SecondsToTicks(item.end);
  e.all_day = item.all_day;
  e.busy_status = item.busy_status;
  e.meeting_status = item.meeting_status;
  e.organizer_name = item.organizer.name;
  e.organizer_address = item.organizer.address;
  for (const Attendee& a : item.attendees) {
    e.attendees.push_back({a.who.name, a.who.address, a.type});
  }
  e.recurrence_kind = item.recurrence;
  e.recurrence_interval = item.interval;
  e.recurrence_day_mask = item.day_mask;
  return e;
}

bool MoveBodyToAttachment(virel::MessageRecord* m) {
  return MoveText(&m->third_text, kHtmlBodyName, m) ||
         MoveText(&m->body_plain, kPlainBodyName, m);
}

}  // namespace vimport

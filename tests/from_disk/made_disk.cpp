// A Windows disk as people have them, for runs that end on a new desktop:
//
//   made_disk one-person|family
//
// Makes it below TMPDIR and prints where. `one-person` is a Windows 10 of one; `family` a Windows XP of
// three, who have their mail in Thunderbird, Outlook and Outlook Express. people.py says what each has.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>

#include "pack/calendars.h"
#include "pack/databases.h"
#include "pack/dbx_files.h"
#include "pack/pst_file.h"
#include "pack/windows_disk.h"

namespace {

using windows::Disk;
using windows::Value;

// ---- Files -------------------------------------------------------------------------------------------

std::string all_bytes() {
  std::string bytes;
  for (int byte = 0; byte < 0x100; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

std::string repeated(std::string_view text, std::size_t times) {
  std::string all;
  for (std::size_t time = 0; time < times; ++time) all += text;
  return all;
}

// What Windows makes for itself lies beside them.
void add_documents(const Disk& disk, const std::string& folder) {
  disk.add(folder + "Brief an Zoë – 12 €.txt", "Liebe Zoë\r\n");
  disk.add(folder + "it's $HOME & (100%) #1; [x] {y} `z` ~.txt", "quotes\n");
  disk.add(folder + "-n first.txt", "a dash\n");
  disk.add(folder + "two  blanks .txt", "blanks\n");
  disk.add(folder + "empty.txt", "");
  disk.add(folder + "日本語/写真のメモ.txt", "メモ\n");
  disk.add(folder + repeated("ä", 125) + ".txt", "a long name\n");
  disk.add(folder + "a/b/c/d/e/f/g/deep.txt", "deep\n");
  disk.add(folder + "desktop.ini", "[.ShellClassInfo]\r\n");
}

void add_pictures(const Disk& disk, const std::string& folder) {
  disk.add(folder + "Urlaub/IMG_0001.JPG", all_bytes());
  disk.add(folder + "Москва.png", repeated(all_bytes(), 2000));
  disk.add(folder + "Thumbs.db", "of Windows");
}

// ---- Messages ----------------------------------------------------------------------------------------

// As Thunderbird keeps one; `status` is that of Mozilla, 0008 of one that is deleted.
std::string message(const std::string& subject, const std::string& text, const std::string& status = "0001",
                    const std::string& head = "Content-Type: text/plain; charset=utf-8\n") {
  return "From - Tue Mar  1 08:41:12 2005\nX-Mozilla-Status: " + status +
         "\nX-Mozilla-Status2: 00000000\nFrom: Ann <ann@home.example>\nTo: Bob "
         "<bob@home.example>\nSubject: " +
         subject + "\nDate: Tue, 01 Mar 2005 08:41:12 +0100\nMIME-Version: 1.0\n" + head + "\n" + text +
         "\n\n";
}

std::string with_carriage_returns(std::string_view text) {
  std::string all;
  for (const char c : text) {
    if (c == '\n') all += '\r';
    all += c;
  }
  return all;
}

std::string with_attachment() {
  return message(
      "photo",
      "a preamble\n--=_part--1\nContent-Type: multipart/alternative;\n boundary=\"inner\"\n\n--inner\n"
      "Content-Type: text/plain\n\nlook\n--inner\nContent-Type: text/html\n"
      "Content-Transfer-Encoding: base64\n\nPGI+bG9vazwvYj4=\n--inner--\n--=_part--1\n"
      "Content-Type: image/jpeg; name=\"a.jpg\"\nContent-Transfer-Encoding: base64\n\n"
      "/9j/4AAQSkZJRgABAQAAAQABAAD/\n--=_part--1--",
      "0001", "Content-Type: multipart/mixed;\n boundary=\"=_part--1\"\n");
}

std::string inbox() {
  return message("plain", "one line") +
         message("from", "Dear Bob,\nFrom here on\n>From Monday\n> >From Friday\n\n>From the end") +
         message("=?utf-8?B?R3LDvMOfZSBhdXMgTcO8bmNoZW4=?=", "Grüße – 日本語") +
         message("deleted", "gone", "0009") + with_attachment() +
         message("all in base64", "R3LDvMOfZQ==", "0001",
                 "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: base64\n") +
         message("latin",
                 "Gr\xFC\xDF"
                 "e",
                 "0000", "Content-Type: text/plain; charset=iso-8859-1\n") +
         message("long line", repeated("0123456789", 5000)) + message("nothing", "") +
         message("lines that look like a head", "Subject: no\n-- \nContent-Transfer-Encoding: base64");
}

// ---- Thunderbird and Firefox -------------------------------------------------------------------------

std::string preference(const std::string& name, const std::string& value) {
  return "user_pref(\"" + name + "\", " + value + ");\n";
}
std::string preference_text(const std::string& name, const std::string& value) {
  return preference(name, "\"" + value + "\"");
}

std::string account(const std::string& number, const std::string& type, const std::string& host,
                    const std::string& sender) {
  const std::string server = "mail.server.server" + number + ".";
  const std::string identity = "mail.identity.id" + number + ".";
  return preference_text("mail.account.account" + number + ".server", "server" + number) +
         preference_text("mail.account.account" + number + ".identities", "id" + number) +
         preference_text(server + "type", type) + preference_text(server + "hostname", host) +
         preference_text(server + "userName", "ann") + preference_text(server + "name", "Post bei " + host) +
         preference(server + "socketType", "3") + preference_text(identity + "fullName", sender) +
         preference_text(identity + "useremail", "ann@" + host) +
         preference_text(identity + "smtpServer", "smtp1");
}

std::string preferences() {
  return "# Mozilla User Preferences\n" +
         preference_text("mail.accountmanager.accounts", "account1,account2,account3") +
         account("1", "imap", "imap.work.example", "Jörg Müller") +
         account("2", "pop3", "pop.post.example", "Jörg \\\"Jo\\\" Müller; " + repeated("von und zu ", 20)) +
         preference_text("mail.account.account3.server", "server3") +
         preference_text("mail.server.server3.type", "none") +
         preference_text("mail.server.server3.hostname", "Local Folders") +
         preference_text("mail.smtpservers", "smtp1") +
         preference_text("mail.smtpserver.smtp1.hostname", "smtp.work.example") +
         preference("mail.smtpserver.smtp1.try_ssl", "3");
}

std::string card(const std::string& id, const std::map<std::string, std::string>& properties) {
  std::string statements;
  for (const auto& [name, value] : properties)
    statements += "INSERT INTO properties VALUES ('" + id + "', '" + name + "', '" + value + "');";
  return statements;
}

const std::string address_book =
    "CREATE TABLE properties (card TEXT, name TEXT, value TEXT); CREATE TABLE lists (uid TEXT, name TEXT);";

void add_address_books(const Disk& disk, const std::string& profile) {
  make_database(
      disk, profile + "abook.sqlite",
      address_book +
          card("1", {{"DisplayName", "Bob Lee"},
                     {"FirstName", "Bob"},
                     {"LastName", "Lee"},
                     {"PrimaryEmail", "bob@home.example"},
                     {"SecondEmail", "bob@work.example"}}) +
          card("2", {{"DisplayName", "Amélie Größe; Dr."},
                     {"FirstName", "Amélie"},
                     {"LastName", "Größe; Dr."},
                     {"PrimaryEmail", "amelie@laurent.example"},
                     {"HomeCity", "Orléans"},
                     {"Notes", "Zeile eins\nZeile zwei; eine Liste: a, b"}}) +
          card("3", {{"DisplayName", "李美兰"}, {"PrimaryEmail", "li@meilan.example"}}) +
          card("4", {{"DisplayName", "Иван Петров"}, {"CellularNumber", "+7 495 1"}}) +
          card("5", {{"DisplayName", "old"},
                     {"_vCard",
                      "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:5\r\nFN:Zoë Żak\r\nN:Żak;Zoë;;;\r\n"
                      "EMAIL;PREF=1:zoe@zak.example\r\nTEL;VALUE=URI:tel:+48-22-1\r\nEND:VCARD\r\n"}}));
  make_database(disk, profile + "history.sqlite",
                address_book + card("6", {{"PrimaryEmail", "shop@orders.example"}}) +
                    card("7", {{"DisplayName", "李美兰"}, {"PrimaryEmail", "li@meilan.example"}}));
}

// All at nine by a clock in Berlin, or of whole days.
std::string appointments() {
  using calendars::event;
  using calendars::rule;
  const std::string berlin = "Europe/Berlin";
  const auto at_nine = [](const std::string& title, const std::string& utc, const std::string& zone) {
    return event(title, title, utc + ":00:00", utc + ":30:00", zone);
  };
  return at_nine("Zahnarzt", "2024-02-05 08", berlin) +
         at_nine("Größe messen – 日本", "2024-07-01 07", berlin) +
         at_nine("Call New York", "2024-07-03 07", "America/New_York") +
         at_nine("Standup", "2024-03-25 08", berlin) + rule("Standup", "RRULE:FREQ=WEEKLY;COUNT=3") +
         calendars::alarm("Standup", "TRIGGER;VALUE=DURATION:-PT15M") +
         at_nine("Chor", "2024-10-15 07", berlin) +
         rule("Chor", "RRULE:FREQ=WEEKLY;UNTIL=20241105T080000Z;BYDAY=TU") +
         rule("Chor", "EXDATE;TZID=Europe/Berlin:20241022T090000") +
         calendars::exception("Chor", "Chor um zehn", "2024-10-29 08:00:00", "2024-10-29 09:00:00",
                              "2024-10-29 10:00:00", berlin) +
         at_nine("Monatsrunde", "2024-03-11 08", berlin) +
         rule("Monatsrunde", "RRULE:FREQ=MONTHLY;COUNT=2;BYDAY=2MO") +
         event("Urlaub", "Urlaub", "2024-08-05 00:00:00", "2024-08-19 00:00:00", "floating", 8) +
         event("Geburtstag", "Geburtstag Amélie", "2024-05-10 00:00:00", "2024-05-11 00:00:00", "floating",
               8) +
         rule("Geburtstag", "RRULE:FREQ=YEARLY;COUNT=2") +
         calendars::property("Zahnarzt", "DESCRIPTION", "Karte, Röntgenbild; END:VALARM\nRRULE:FREQ=DAILY") +
         calendars::task("Versicherung", "Versicherung", "", "2024-04-30 07:00:00", berlin) +
         calendars::task("Belege", "Belege für Größe", "", "2024-05-10 00:00:00", "floating", 8) +
         "UPDATE cal_todos SET priority = 9, todo_completed = " + calendars::at("2024-03-14 08:00:00") +
         ", todo_completed_tz = 'UTC' WHERE id = 'Belege';" +
         calendars::task("Fenster", "Fenster putzen", "", "", "floating");
}

void add_firefox(const Disk& disk, const std::string& profile) {
  make_database(
      disk, profile + "places.sqlite",
      "CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url TEXT);"
      "CREATE TABLE moz_bookmarks (id INTEGER PRIMARY KEY, type INTEGER, fk INTEGER, parent INTEGER, "
      "position "
      "INTEGER, title TEXT, dateAdded INTEGER, guid TEXT);"
      "INSERT INTO moz_places VALUES (1, 'http://one.example/?a=1&b=\"2\"'), (2, 'http://two.example/größe'),"
      " (3, 'place:sort=8'), (4, 'http://never.example/'), (5, 'https://three.example/#it''s');"
      "INSERT INTO moz_bookmarks VALUES (1, 2, NULL, 0, 0, '', 0, 'root________'),"
      " (2, 2, NULL, 1, 0, 'menu', 0, 'menu________'), (3, 2, NULL, 1, 1, 'toolbar', 0, 'toolbar_____'),"
      " (4, 2, NULL, 1, 2, 'tags', 0, 'tags________'), (5, 2, NULL, 1, 3, 'unfiled', 0, 'unfiled_____'),"
      " (10, 1, 2, 3, 1, 'Zwei <2>', 1100000000000000, 'a'), (11, 1, 1, 3, 0, 'Eins', 0, 'b'),"
      " (12, 2, NULL, 2, 0, 'Grüße', 1200000000000000, 'c'), (13, 1, 5, 12, 0, 'Drei & mehr', 0, 'd'),"
      " (14, 1, 3, 2, 1, 'Most visited', 0, 'e'), (15, 3, NULL, 2, 2, '', 0, 'f');");
  make_database(disk, profile + "cookies.sqlite",
                "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT, name TEXT, value "
                "TEXT, host TEXT, "
                "path TEXT, expiry INTEGER, isSecure INTEGER);"
                "INSERT INTO moz_cookies VALUES (1, '', 'login', 'a=b', '.one.example', '/', 4000000000, 1),"
                " (2, '', 'lang', 'de', 'two.example', '/x', 4000000000, 0),"
                " (3, '^userContextId=1', 'bank', '1', 'bank.example', '/', 4000000000, 1);");
}

// ---- One person --------------------------------------------------------------------------------------

void add_thunderbird_of_jorg(const Disk& disk, const std::string& profile) {
  disk.add(profile + "prefs.js", with_carriage_returns(preferences()));
  const std::string post = profile + "Mail/pop.post.example/";
  disk.add(post + "Inbox", with_carriage_returns(inbox()));
  disk.add(post + "Inbox.msf", "index");
  disk.add(post + "Inbox.sbd/Arbeit", message("work", "first") + message("more work", "second"));
  disk.add(post + "Inbox.sbd/Arbeit.sbd/Größe & Co", message("deep", "below two folders"));
  disk.add(post + "Inbox.sbd/Arbeit.sbd/Sent", message("sent below", "not the usual one"));
  disk.add(post + "Sent",
           with_carriage_returns(message("answer", "sent") + message("second answer", "sent")));
  disk.add(post + "Drafts", message("half", "a draft"));
  disk.add(post + "Trash", message("thrown away", "still there"));
  disk.add(post + "popstate.dat", "state");
  const std::string local = profile + "Mail/Local Folders/";
  disk.add(local + "Archives", "");
  disk.add(local + "Archives.sbd/2004", message("old", "of 2004") + message("older", "of 2004"));
  disk.add(local + "Reisen – 日本", message("flight", "Tokio"));
  // The same message once more, and another one.
  disk.add(profile + "ImapMail/imap.work.example/INBOX",
           message("plain", "one line") + message("kept", "offline"));
  add_address_books(disk, profile);
  make_database(disk, profile + "calendar-data/local.sqlite", calendars::tables + appointments());
}

void make_one_person(const Disk& disk) {
  const std::string home = "Users/Jörg/";
  calendars::set_zone_of_machine(disk);
  disk.add(home + "NTUSER.DAT",
           windows::hive({{R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)",
                           {{"My Music", R"(%USERPROFILE%\Eigene Musik)", Value::expand}}}}));
  add_documents(disk, home + "Documents/");
  disk.add(home + "Documents/.plan", "a dot in front\n");
  add_pictures(disk, home + "Pictures/");
  disk.add(home + "Eigene Musik/Für Elise.mp3", all_bytes());
  disk.add(home + "Videos/Kurz.avi", "video\n");
  disk.add(home + "Downloads/setup (1).exe", "MZ");
  disk.add(home + "Rezepte/Brot.txt", "Mehl\n");
  disk.add(home + "Desktop/Einkauf.txt", "Milch\n");
  disk.add(home + "Desktop/Sachen/Größe.txt", "42\n");
  disk.add(home + "AppData/Local/Temp/rest.tmp", "no loss");
  add_thunderbird_of_jorg(disk, home + "AppData/Roaming/Thunderbird/Profiles/x.default/");
  add_firefox(disk, home + "AppData/Roaming/Mozilla/Firefox/Profiles/abc.default/");
  disk.add(home + "Contacts/Klaus.contact",
           "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<c:contact c:Version=\"1\" "
           "xmlns:c=\"http://schemas.microsoft.com/Contact\"><c:NameCollection><c:Name c:ElementID=\"x\">"
           "<c:FormattedName>Klaus Übel</c:FormattedName></c:Name></c:NameCollection></c:contact>");
  make_database(
      disk,
      home + "AppData/Local/Packages/Microsoft.MicrosoftStickyNotes_8wekyb3d8bbwe/LocalState/plum.sqlite",
      "CREATE TABLE Note (Text TEXT, UpdatedAt INTEGER, DeletedAt INTEGER, Id TEXT);"
      "INSERT INTO Note (Text, DeletedAt) VALUES ('\\id=1 Müller anrufen\n\\id=2 030, (heute)', NULL),"
      " ('\\id=3 Shopping: milk', NULL), ('\\id=4 购物', NULL), ('\\id=5 gone', 637000000000000000);");
}

// ---- The family --------------------------------------------------------------------------------------

void add_ann(const Disk& disk) {
  const std::string home = "Documents and Settings/Ann/";
  const std::string profile = home + "Application Data/Thunderbird/Profiles/y.default/";
  add_documents(disk, home + "My Documents/");
  add_pictures(disk, home + "My Documents/My Pictures/");
  disk.add(home + "Desktop/Liste.txt", "Ann\n");
  disk.add(profile + "Mail/Local Folders/Inbox", inbox());
  disk.add(profile + "Mail/Local Folders/Inbox.sbd/Schule", message("school", "monday"));
  // One name in a dictionary and one in its cell, as Mork has them.
  disk.add(
      profile + "abook.mab",
      "// <!-- <mdb:mork:z v=\"1.4\"/> -->\n< <(a=c)> // (f=iso-8859-1)\n"
      "  (80=ns:addrbk:db:row:scope:card:all)(83=FirstName)(84=LastName)(87=DisplayName)(89=PrimaryEmail)\n"
      "  (C0=ns:addrbk:db:table:kind:pab)>\n\n<(90=Zo$C3$AB Lee)>\n"
      "{1:^80 {(k^C0:c)(s=9)} [1(^87^90)(^89=zoe@home.example)] [2(^87=Bob)(^89=bob@home.example)]}");
  make_database(disk, profile + "calendar-data/local.sqlite",
                calendars::tables +
                    calendars::event("1", "Elternabend", "2005-07-05 07:00:00", "2005-07-05 08:00:00",
                                     "Europe/Berlin") +
                    calendars::task("2", "Hefte kaufen", "", "2005-08-15 00:00:00", "floating", 8));
  add_firefox(disk, home + "Application Data/Mozilla/Firefox/Profiles/abc.default/");
}

// Seconds since 1970 of 7:00 in UTC on a day that is so many days behind 2005-01-01.
std::int64_t seven_in_utc(int days) { return 1104537600 + std::int64_t{days} * 86400 + 7 * 3600; }

pst::Item outlook_message(const std::string& subject, const std::string& text) {
  return {.properties = {pst::text(0x001A, "IPM.Note"), pst::number(0x0E08, 4000), pst::text(0x0037, subject),
                         pst::time(0x0E06, seven_in_utc(60)), pst::text(0x1000, text)}};
}

std::string outlook_file() {
  pst::File file;
  const auto appointment = [&](const std::string& title, std::int64_t start) {
    return pst::Item{.properties = {pst::text(0x001A, "IPM.Appointment"), pst::text(0x0037, title),
                                    pst::time(file.named(pst::appointment_set, 0x820D), start),
                                    pst::time(file.named(pst::appointment_set, 0x820E), start + 3600)}};
  };
  const auto contact = [&](const std::string& name, const std::string& address) {
    return pst::Item{.properties = {pst::text(0x001A, "IPM.Contact"), pst::text(0x3001, name),
                                    pst::text(file.named(pst::contact_set, 0x8083), address)}};
  };
  const pst::Item task{
      .properties = {pst::text(0x001A, "IPM.Task"), pst::text(0x0037, "Steuer"),
                     pst::time(file.named(pst::task_set, 0x8105), 1114819200 /* 2005-04-30 */)}};
  const pst::Item note{.properties = {pst::text(0x001A, "IPM.StickyNote"), pst::text(0x0037, "Reifen"),
                                      pst::text(0x1000, "Reifen\r\n195/65, (Winter)")}};
  constexpr int in_july = 185;  // 2005-07-05
  constexpr std::int64_t hour = 3600;
  file.folders = {
      {.name = "Posteingang",
       .items = {outlook_message("Angebot – Größe", "Sehr geehrter Herr Lee\r\nFrom here on\r\n"),
                 outlook_message("second", "From the start\r\n")},
       .folders = {{.name = "Kunden", .items = {outlook_message("client", "text\r\n")}},
                   {.name = ".NET", .items = {outlook_message("dot", "text\r\n")}}}},
      {.name = "Gesendete Elemente", .items = {outlook_message("sent by Bob", "text\r\n")}},
      {.name = "Gelöschte Elemente", .items = {outlook_message("gone", "text\r\n")}},
      {.name = "Kalender",
       .container = "IPF.Appointment",
       .items = {appointment("Messe", seven_in_utc(in_july)),
                 appointment("Winter", seven_in_utc(10) + hour)}},
      {.name = "Kontakte",
       .container = "IPF.Contact",
       .items = {contact("Ann Lee", "ann@home.example"), contact("Jürgen Größe", "j@work.example")}},
      {.name = "Aufgaben", .container = "IPF.Task", .items = {task}},
      {.name = "Notizen", .container = "IPF.StickyNote", .items = {note}}};
  file.inbox = 0;
  file.sent = 1;
  file.deleted = 2;
  return file.bytes();
}

void add_bob(const Disk& disk) {
  const std::string home = "Documents and Settings/Bob/";
  disk.add(home + "My Documents/Angebot.doc", all_bytes());
  disk.add(home + "Local Settings/Application Data/Microsoft/Outlook/Outlook.pst", outlook_file());
}

std::string letter(const std::string& subject, const std::string& text) {
  return "From: a@b.example\r\nTo: c@d.example\r\nSubject: " + subject +
         "\r\nDate: Tue, 1 Mar 2005 08:41:12 +0000\r\n\r\n" + text;
}

void add_zoe(const Disk& disk) {
  const std::string home = "Documents and Settings/Zoë/";
  const std::string store =
      home + "Local Settings/Application Data/Identities/{A-1}/Microsoft/Outlook Express/";
  disk.add(home + "My Documents/Zoë.txt", "Zoë\n");
  disk.add(store + "Inbox.dbx",
           dbx::file({letter("one", "line\r\nFrom me\r\n" + std::string(1500, 'x') + "\r\n"),
                      letter("two", "Text\r\n")}));
  disk.add(store + "Sent Items.dbx", dbx::file({letter("three", "Text\r\n")}));
  // A folder that holds another one and no message.
  disk.add(
      home + "Local Settings/Application Data/Microsoft/Windows Live Mail/Storage Folders/Imported/Old/1.eml",
      letter("imported", "From afar\r\n"));
  disk.add(home + "Favorites/Links/Brücke.url", "[InternetShortcut]\r\nURL=http://bridge.example/\r\n");
  disk.add(home + "Favorites/Anfang.url",
           "[DEFAULT]\r\nBASEURL=http://other.example/\r\n[InternetShortcut]\r\n"
           "URL=http://start.example/?a=1&b=2\r\n");
}

void make_family(const Disk& disk) {
  calendars::set_zone_of_machine(disk);
  for (const char* name : {"Ann", "Bob", "Zo\u00eb"})
    disk.add(std::string("Documents and Settings/") + name + "/NTUSER.DAT", windows::hive({}));
  add_ann(disk);
  add_bob(disk);
  add_zoe(disk);
}

}  // namespace

int main(int count, char** words) {
  const std::map<std::string, void (*)(const Disk&)> disks = {{"one-person", make_one_person},
                                                              {"family", make_family}};
  const auto wanted = disks.find(count == 2 ? words[1] : "");
  if (wanted == disks.end()) {
    std::fputs("usage: made_disk one-person|family\n", stderr);
    return 2;
  }
  const Disk disk;
  wanted->second(disk);
  std::puts(disk.path().c_str());
  return testing::UnitTest::GetInstance()->Passed() ? 0 : 1;
}

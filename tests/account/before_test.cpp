// What can be said before a run.
#include "account/before/before.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;

using Entries = Scene::Entries;
using Lines = std::vector<std::string>;

constexpr const char* archive_path = "/tmp/before-test.zip";

// An archive and those it is for.
class Ahead {
 public:
  explicit Ahead(System system = System::gnome) : system_(system) {
    people_ = {{.login = "ann", .home = "/home/ann", .folder = "Brindle"}};
    shell_quietly("rm -rf /home/ann; mkdir -p /home/ann");
  }

  // Names below "Brindle/".
  Ahead& archive(const Entries& entries) {
    Entries below;
    for (const auto& [name, bytes] : entries) below.emplace_back("Brindle/" + name, bytes);
    return whole_archive(below);
  }

  Ahead& whole_archive(const Entries& entries) {
    write_zip(archive_path, entries);
    return *this;
  }

  Ahead& profile(const std::string& login) {
    people_.push_back(
        {.login = login, .home = "/home/" + login, .folder = "Brindle/Profiles/" + login, .runs = false});
    several_ = true;
    return *this;
  }

  Ahead& as_user() {
    as_root_ = false;
    return *this;
  }

  // "name: text" of each; with the person's login name ahead when it is not Ann's.
  Lines see(void (*look)(const Outlook&, std::vector<Warning>&)) const {
    const Archive archive(archive_path, "CP437");
    std::vector<Warning> found;
    look({archive, people_, system_, several_, as_root_, "CP1252", ""}, found);
    Lines lines;
    for (const Warning& warning : found)
      lines.push_back((warning.person.empty() || warning.person == "ann" ? "" : warning.person + " ") +
                      warning.name + ": " + text_of(Texts(), warning));
    return lines;
  }

 private:
  System system_;
  std::vector<Person> people_;
  bool several_ = false;
  bool as_root_ = true;
};

// ---- Entries -------------------------------------------------------------------------------------------

TEST(Before, an_archive_in_order_gives_no_warning) {
  const Ahead ahead =
      Ahead().archive({{"My Documents/a.txt", "one"}, {"My Documents/b/", ""}, {"Desktop/a.txt", "two"}});
  EXPECT_EQ(Lines{}, ahead.see(foresee_entries));
}

TEST(Before, what_lies_beside_the_root_is_noted) {
  const Ahead ahead =
      Ahead().whole_archive({{"Brindle/Desktop/a.txt", "one"}, {"Brindle2/a.txt", "x"}, {"b.txt", "x"}});
  EXPECT_EQ((Lines{"Brindle2/a.txt: It lies outside the folder Brindle and is not moved.",
                   "b.txt: It lies outside the folder Brindle and is not moved."}),
            ahead.see(foresee_entries));
}

TEST(Before, what_nobody_looks_for_is_noted) {
  const Ahead ahead = Ahead().profile("zoe").archive({{"Desktop/a.txt", "one"},
                                                      {"Cookies2.txt", "x"},
                                                      {"Music/a.ogg", "x"},
                                                      {"Profiles/zoe/Fonts/a.ttf", "x"}});
  const std::string text = ": Nothing is looked for under this name; it is not moved.";
  EXPECT_EQ((Lines{"Cookies2.txt" + text, "Music/a.ogg" + text, "zoe Fonts/a.ttf" + text}),
            ahead.see(foresee_left_over));
}

TEST(Before, an_archive_without_the_root_is_named) {
  const Ahead ahead = Ahead().whole_archive({{"My Documents/a.txt", "one"}});
  EXPECT_EQ("/tmp/before-test.zip: The archive has no folder Brindle; nothing in it will be found.",
            ahead.see(foresee_entries).at(0));
}

TEST(Before, unsafe_names_are_named_wherever_they_lead) {
  const Ahead ahead = Ahead().whole_archive(
      {{"../out.txt", "x"}, {"/etc/out.txt", "x"}, {"Brindle/a/../b.txt", "x"}, {"Brindle/a..b/..c", "x"}});
  const Lines lines = ahead.see(foresee_entries);
  EXPECT_EQ((Lines{"../out.txt: Its name leads out of the archive; it is not moved.",
                   "Brindle/a/../b.txt: Its name leads out of the archive; it is not moved.",
                   "etc/out.txt: Its name leads out of the archive; it is not moved."}),
            lines);
}

TEST(Before, names_too_long_for_a_file_system_are_named) {
  const std::string longest(255, 'n'), longer(256, 'n');
  const Ahead ahead = Ahead().archive({{"Desktop/" + longest, "x"}, {"Desktop/" + longer + "/a.txt", "x"}});
  EXPECT_EQ((Lines{"Brindle/Desktop/" + longest +
                   "/a.txt: A part of its name is longer than 255 bytes and will be cut."}),
            ahead.see(foresee_entries));
}

// libzip refuses to write a name twice, python's zipfile does not.
TEST(Before, a_name_that_comes_twice_is_named_once) {
  const Ahead ahead;
  ASSERT_EQ(0, shell_quietly("cd /tmp && rm -f before-test.zip && python3 -W ignore -c \"import zipfile\n"
                             "z = zipfile.ZipFile('before-test.zip', 'w')\n"
                             "for name in ('a', 'b', 'a', 'c'): z.writestr('Brindle/Desktop/' + name, 'x')\n"
                             "z.close()\""));
  EXPECT_EQ(
      (Lines{"Brindle/Desktop/a: The archive has this name several times; only the last one is moved."}),
      ahead.see(foresee_entries));
}

TEST(Before, links_and_pipes_are_named) {
  const Ahead ahead;
  ASSERT_EQ(
      0, shell_quietly(
             "rm -rf /tmp/before-test.zip /tmp/made && mkdir -p /tmp/made/Brindle/Desktop && cd /tmp/made && "
             "ln -s /etc/passwd Brindle/Desktop/link && echo x >Brindle/Desktop/file && "
             "zip -q -y -r /tmp/before-test.zip Brindle"));
  EXPECT_EQ((Lines{"Brindle/Desktop/link: It is a link or a device; those are not moved."}),
            ahead.see(foresee_entries));
}

TEST(Before, each_encrypted_entry_is_named) {
  const Ahead ahead;
  ASSERT_EQ(
      0,
      shell_quietly(
          "rm -rf /tmp/before-test.zip /tmp/made && mkdir -p /tmp/made/Brindle && cd /tmp/made && "
          "for n in a b c; do echo $n >Brindle/$n; done; zip -q /tmp/before-test.zip Brindle/a Brindle/c && "
          "zip -q -P word /tmp/before-test.zip Brindle/b"));
  EXPECT_EQ((Lines{"Brindle/b: It is encrypted; the wizard will ask for the password."}),
            ahead.see(foresee_entries));
}

// Gives the entry `name` a method or an encryption.
void repack(const char* name, void (*change)(zip_t*, zip_uint64_t)) {
  zip_t* const zip = zip_open(archive_path, 0, nullptr);
  ASSERT_NE(nullptr, zip);
  change(zip, static_cast<zip_uint64_t>(zip_name_locate(zip, name, 0)));
  ASSERT_EQ(0, zip_close(zip));
}

TEST(Before, what_unzip_cannot_read_is_named) {
  const Ahead ahead;
  ASSERT_EQ(0, shell_quietly("cd /tmp && rm -f before-test.zip && python3 -c \"import zipfile\n"
                             "z = zipfile.ZipFile('before-test.zip', 'w')\n"
                             "z.writestr('Brindle/a', 'one')\n"
                             "z.writestr('Brindle/b', 'two', zipfile.ZIP_LZMA)\n"
                             "z.writestr('Brindle/c', 'three', zipfile.ZIP_BZIP2)\n"
                             "z.writestr('Brindle/d', 'four', zipfile.ZIP_DEFLATED)\n"
                             "z.close()\""));
  repack("Brindle/a",
         [](zip_t* zip, zip_uint64_t i) { zip_file_set_encryption(zip, i, ZIP_EM_AES_256, "word"); });
  EXPECT_EQ((Lines{"Brindle/a: It is encrypted in a way that unzip cannot read.",
                   "Brindle/b: It is packed in a way that unzip cannot read."}),
            ahead.see(foresee_entries));
}

TEST(Before, a_damaged_entry_is_named_and_its_neighbours_are_not) {
  const Ahead ahead = Ahead().archive({{"a", "aaa"}, {"b", "before"}, {"c", "ccc"}});
  repack("Brindle/b", [](zip_t* zip, zip_uint64_t i) { zip_set_file_compression(zip, i, ZIP_CM_STORE, 0); });
  std::string bytes = read_file(archive_path);
  bytes.replace(bytes.find("before"), 6, "behind");
  write_file(archive_path, bytes);
  EXPECT_EQ((Lines{"Brindle/b: It is damaged: its checksum is wrong or its data end early."}),
            ahead.see(foresee_entries));
}

// ---- Settings lines ------------------------------------------------------------------------------------

constexpr const char* accounts = "ImapMail/brindle-email-accounts/";

TEST(Before, a_line_that_is_cut_is_named_by_its_key) {
  const std::string fits = "SMTP Server=" + std::string(114, 'h') + "\n";    // 126 bytes and the line end
  const std::string longer = "POP3 Server=" + std::string(115, 'h') + "\n";  // one more
  const Ahead ahead = Ahead().archive(
      {{std::string(accounts) + "home", fits + longer}, {std::string(accounts) + "work", fits}});
  EXPECT_EQ((Lines{"Brindle/ImapMail/brindle-email-accounts/home: The line for POP3 Server is longer than "
                   "126 bytes and "
                   "will be cut."}),
            ahead.see(foresee_settings));
}

TEST(Before, a_line_hidden_by_another_is_named) {
  const Ahead ahead = Ahead().archive(
      {{std::string(accounts) + "1", "Account Name=My SMTP Server\nSMTP Server=out.example\n"},
       {std::string(accounts) + "2", "Account Name=Two\nSMTP Server=out.example\n"}});
  EXPECT_EQ((Lines{"Brindle/ImapMail/brindle-email-accounts/1: The line for SMTP Server is hidden by an "
                   "earlier line that "
                   "holds the same words."}),
            ahead.see(foresee_settings));
}

TEST(Before, a_second_choice_that_nobody_asks_for_may_be_hidden) {
  const Ahead ahead = Ahead().archive(
      {{std::string(accounts) + "1", "SMTP Email Address=ann@a.example\nEmail=ann@b.example\n"},
       {std::string(accounts) + "2", "Reply Email=x@a.example\nEmail=ann@b.example\n"}});
  EXPECT_EQ((Lines{"Brindle/ImapMail/brindle-email-accounts/2: The line for Email is hidden by an earlier "
                   "line that holds "
                   "the same words."}),
            ahead.see(foresee_settings));
}

TEST(Before, a_line_hidden_by_a_longer_key_is_named) {
  EXPECT_EQ(
      (Lines{"Brindle/Printers/1: The line for Driver Name is hidden by an earlier line that holds the same "
             "words."}),
      Ahead().archive({{"Printers/1", "Driver Name Wo Spaces=HP\nDriver Name=H P\n"}}).see(foresee_settings));
}

TEST(Before, settings_of_users_printers_and_profiles_are_looked_at) {
  const std::string hidden = "Printer Name=Port Name\nPort Name=LPT1\n";
  const Ahead ahead =
      Ahead().profile("ben").archive({{"users.txt", "Default=MultiUser Migration\nMultiUser Migration=1\n"},
                                      {"Printers/a.txt", hidden},
                                      {"Profiles/ben/Printers/b.txt", hidden}});
  EXPECT_EQ((Lines{"Brindle/users.txt: The line for MultiUser Migration is hidden by an earlier line that "
                   "holds the same "
                   "words.",
                   "Brindle/Printers/a.txt: The line for Port Name is hidden by an earlier line that holds "
                   "the same words.",
                   "ben Brindle/Profiles/ben/Printers/b.txt: The line for Port Name is hidden by an earlier "
                   "line that holds "
                   "the same words."}),
            ahead.see(foresee_settings));
}

// ---- Accounts ------------------------------------------------------------------------------------------

TEST(Before, each_value_that_evolution_refuses_is_named) {
  for (const char* key : {"Account Name", "SMTP Display Name", "Display Name", "SMTP Email Address", "Email",
                          "SMTP Reply To Email Address", "SMTP Organization Name", "SMTP Server",
                          "IMAP Server", "IMAP User Name", "IMAP User"}) {
    for (const char* value : {"Hull & Sons", "a<b"}) {
      // "Email" is a part of other keys, so it is asked for as the second choice only.
      const bool has_address =
          std::string(key).find("Email") == std::string::npos || std::string(key).starts_with("SMTP R");
      const std::string bad =
          (has_address ? "SMTP Email Address=ann@a.example\n" : "") + std::string(key) + "=" + value + "\n";
      const Entries entries = {{std::string(accounts) + "1", "Account Name=One\nSMTP Server=a.example\n"},
                               {std::string(accounts) + "2", bad}};
      EXPECT_EQ((Lines{std::string("Brindle/ImapMail/brindle-email-accounts/2: Evolution will read neither "
                                   "this e-mail account nor those "
                                   "after it: ") +
                       key + " holds & or <."}),
                Ahead().archive(entries).see(foresee_accounts))
          << bad;
      EXPECT_EQ(Lines{}, Ahead(System::xandros).archive(entries).see(foresee_accounts));
    }
  }
}

TEST(Before, each_login_that_evolution_misreads_is_named) {
  for (const char* key : {"IMAP User Name", "IMAP User", "POP3 User Name", "POP3 User"}) {
    for (const char* value : {"eva@firm.example", "firm:eva", "firm/eva", "a&@b"}) {
      const std::string server = std::string(key).substr(0, 4) == "POP3" ? "POP3" : "IMAP";
      const Entries entries = {
          {std::string(accounts) + "1", server + " Server=a.example\nSMTP Email Address=ann@a.example\n"},
          {std::string(accounts) + "2", server + " Server=a.example\n" + key + "=" + value + "\n"}};
      const std::string two = "Brindle/ImapMail/brindle-email-accounts/2: Evolution will read ";
      Lines expected = {two + "another login or server for this e-mail account: " + key +
                        " holds @, : or /."};
      if (std::string(value) == "a&@b")
        expected.insert(expected.begin(),
                        two + "neither this e-mail account nor those after it: " + key + " holds & or <.");
      EXPECT_EQ(expected, Ahead().archive(entries).see(foresee_accounts)) << value;
      EXPECT_EQ(Lines{}, Ahead(System::xandros).archive(entries).see(foresee_accounts));
      EXPECT_EQ(Lines{}, Ahead(System::linspire).archive(entries).see(foresee_accounts));
    }
  }
  const Ahead ahead = Ahead().archive({{std::string(accounts) + "1", "POP3 Server=a\nIMAP User=a@b\n"}});
  EXPECT_EQ(Lines{}, ahead.see(foresee_accounts));
}

TEST(Before, a_value_of_the_other_kind_of_account_is_not_used) {
  const Ahead ahead = Ahead().archive(
      {{std::string(accounts) + "1",
        "SMTP Email Address=ann@a.example\nPOP3 Server=a.example\nIMAP Server=a&b\nReply Email=a&b\n"}});
  EXPECT_EQ(Lines{}, ahead.see(foresee_accounts));
}

TEST(Before, mail_without_the_folder_of_accounts_stays_behind_on_evolution) {
  const Entries mail = {{"ImapMail/Calendar/calendar.ics", "x"}, {"Mail/Inbox", "x"}};
  EXPECT_EQ((Lines{"Brindle/ImapMail: Mail, calendar and contacts are only moved when the archive has "
                   "ImapMail/brindle-email-accounts as well."}),
            Ahead().archive(mail).see(foresee_accounts));
  EXPECT_EQ(Lines{}, Ahead(System::linspire).archive(mail).see(foresee_accounts));
}

// ---- Conditions ----------------------------------------------------------------------------------------

TEST(Before, what_waits_for_a_folder_is_named_when_that_is_missing) {
  const Entries all = {{"ImapMail/Calendar/calendar.ics", "x"},
                       {"ImapMail/Contacts/", ""},
                       {"ImapMail/Tasks/tasks.ics", "x"},
                       {std::string(accounts), ""},
                       {"Mail/Inbox", "x"},
                       {"Notes/1.txt", "x"}};
  const auto without = [&all](const std::string& beginning) {
    Entries rest;
    for (const auto& entry : all)
      if (!entry.first.starts_with(beginning)) rest.push_back(entry);
    return rest;
  };
  const auto named = [&](System system, const std::string& missing) {
    return Ahead(system).archive(without(missing)).see(foresee_conditions);
  };
  const auto waits = [](const std::string& name, const std::string& folder) {
    return "Brindle/" + name + ": It is only moved when the archive has " + folder + " as well.";
  };
  for (int i = 0; i < system_count; ++i)
    EXPECT_EQ(Lines{}, Ahead(static_cast<System>(i)).archive(all).see(foresee_conditions));
  EXPECT_EQ((Lines{waits("ImapMail/Calendar/calendar.ics", "ImapMail/Contacts"),
                   waits("ImapMail/Tasks/tasks.ics", "ImapMail/Contacts")}),
            named(System::nld, "ImapMail/Contacts"));
  EXPECT_EQ(Lines{}, named(System::xandros, "ImapMail/Contacts"));
  EXPECT_EQ(Lines{}, named(System::gnome, "ImapMail/Calendar"));
  EXPECT_EQ(Lines{waits("ImapMail/Tasks/tasks.ics", "ImapMail/Calendar")},
            named(System::redflag, "ImapMail/Calendar"));
  EXPECT_EQ(Lines{}, named(System::linspire, "ImapMail/Calendar"));
  EXPECT_EQ((Lines{waits("Mail", "ImapMail"), waits("Notes", "ImapMail")}),
            named(System::xandros, "ImapMail"));
  EXPECT_EQ(Lines{waits("Mail", "ImapMail")}, named(System::linspire, "ImapMail"));
  EXPECT_EQ(Lines{}, named(System::gnome, "ImapMail"));  // named with the accounts
}

// ---- Losses --------------------------------------------------------------------------------------------

TEST(Before, what_stays_behind_on_every_run_is_named_with_its_cause) {
  const std::string hidden = ": It will not be moved: Names that begin with a dot are left out here.";
  const std::string title = ": It will not be moved: Its first line has no colon before a title.";
  const Entries entries = {{"My Documents/.plan", "x"},
                           {"My Documents/a.txt", "x"},
                           {"My Documents/b/.inside", "x"},
                           {"Personal/c.txt", "x"},
                           {"Desktop/.order/d.txt", "x"},
                           {"ImapMail/", ""},
                           {"Notes/1", "Subject: one\ntext\n"},
                           {"Notes/2", "text without it\n"},
                           {"Notes/3", "a: b\n"},
                           {"Mapped_Drives/one", "//server/share\n"},
                           {"Mapped_Drives/two", "//server/share\nShare\n"},
                           {"Profiles/zoe/Desktop/.z", "x"},
                           {"Profiles/zoe/ImapMail/", ""},
                           {"Profiles/zoe/Notes/4", "none\n"}};
  EXPECT_EQ((Lines{".plan" + hidden,
                   "Personal/c.txt: It will not be moved: The archive has My Documents as well, and only one "
                   "of the two is moved.",
                   ".order/d.txt" + hidden, "2" + title,
                   "one: It will not be moved: Its address or its name is missing in the archive.",
                   "zoe .z" + hidden, "zoe 4" + title}),
            Ahead(System::xandros).profile("zoe").archive(entries).see(foresee_losses));
  EXPECT_EQ(Lines{}, Ahead(System::gnome).archive({{"Notes/2", "text"}}).see(foresee_losses));
}

TEST(Before, a_drive_whose_name_holds_a_slash_is_named) {
  const Entries drives = {{"Mapped_Drives/a", "//srv/a\nA (J)\n"},
                          {"Mapped_Drives/b", "//srv/b\nMusic/Films (K)\n"},
                          {"Mapped_Drives/c", "//srv/c/d\nC (L)\n"},
                          {"Profiles/zoe/Mapped_Drives/d", "//srv/d\n/ (M)\n"}};
  const std::string text =
      ": Its name holds a slash, so no link to it can be made; neither it nor the network drives after it "
      "will be moved.";
  for (const System system : {System::gnome, System::xandros})
    EXPECT_EQ((Lines{"Brindle/Mapped_Drives/b" + text, "zoe Brindle/Profiles/zoe/Mapped_Drives/d" + text}),
              Ahead(system).profile("zoe").archive(drives).see(foresee_drives));
}

TEST(Before, a_picture_that_breaks_the_settings_of_a_profile_is_named) {
  const Entries pictures = {{"Wallpaper/a&b.bmp", "x"},
                            {"Profiles/zoe/Wallpaper/option.txt", "C"},
                            {"Profiles/zoe/Wallpaper/c&d.bmp", "x"},
                            {"Profiles/zoe/Wallpaper/e.bmp", "x"},
                            {"Profiles/zoe/Wallpaper/f<g.bmp", "x"}};
  const std::string text =
      ": No wallpaper will be seen: the desktop cannot read a picture's name that holds & or <.";
  EXPECT_EQ((Lines{"zoe Brindle/Profiles/zoe/Wallpaper/c&d.bmp" + text,
                   "zoe Brindle/Profiles/zoe/Wallpaper/f<g.bmp" + text}),
            Ahead(System::nld).profile("zoe").archive(pictures).see(foresee_wallpaper));
  EXPECT_EQ(Lines{}, Ahead(System::linspire).profile("zoe").archive(pictures).see(foresee_wallpaper));
}

// ---- Letters -------------------------------------------------------------------------------------------

// An address book with Ann Lee and a contact of that name.
std::string book_with(const std::string& name) {
  write_file("/tmp/name", name);
  EXPECT_EQ(0, shell_quietly("rm -f /tmp/book.db && perl -MDB_File -e '"
                             "tie my %book, \"DB_File\", \"/tmp/book.db\", O_RDWR | O_CREAT, 0644, $DB_HASH;"
                             "open my $in, \"<\", \"/tmp/name\"; local $/; my $name = <$in>;"
                             "$book{\"PAS-DB-VERSION\\0\"} = \"0.2\\0\"; my $end = \"END:VCARD\\0\";"
                             "$book{\"1\\0\"} = \"BEGIN:VCARD\\r\\nUID:1\\r\\nFN:Ann Lee\\r\\n$end\";"
                             "$book{\"2\\0\"} = \"BEGIN:VCARD\\r\\nUID:2\\r\\nFN:$name\\r\\n$end\";'"));
  return read_file("/tmp/book.db");
}

// Every text that has letters, with `letters` in it.
Entries written_with(const std::string& letters) {
  return {{"ImapMail/Calendar/calendar.ics", "BEGIN:VCALENDAR\nX:" + letters + "\nEND:VCALENDAR\n"},
          {"ImapMail/Contacts/addressbook.db", book_with(letters)},
          {"ImapMail/Tasks/tasks.ics", "BEGIN:VCALENDAR\nX:" + letters + "\nEND:VCALENDAR\n"},
          {std::string(accounts) + "1", "Account Name=" + letters + "\n"},
          {std::string(accounts) + "2", "Account Name=Home\n"},
          {"Notes/1.txt", "Subject: " + letters + "\n"},
          {"Notes/2.txt", "Subject: Shopping\n"}};
}

TEST(Before, letters_that_kmails_systems_would_lose_are_named) {
  const std::string text =
      ": Its letters are not in the character set GB2312, which this desktop takes them for; some will be "
      "lost.";
  const Lines all = {"Brindle/ImapMail/brindle-email-accounts/1" + text,
                     "Brindle/ImapMail/Calendar/calendar.ics" + text,
                     "Brindle/ImapMail/Tasks/tasks.ics" + text,
                     "Brindle/ImapMail/Contacts/addressbook.db" + text, "Brindle/Notes/1.txt" + text};
  for (const char* foreign : {"M\xc3\xbcller", "M\xfcller", "\xe7\x8e\x8b"})
    EXPECT_EQ(all, Ahead(System::xandros).archive(written_with(foreign)).see(foresee_letters)) << foreign;
  for (const char* fitting : {"Mueller", "\xcd\xf5"})
    EXPECT_EQ(Lines{}, Ahead(System::redflag).archive(written_with(fitting)).see(foresee_letters)) << fitting;
}

TEST(Before, contacts_that_tell_their_character_set_keep_their_letters) {
  const auto seen = [](const std::string& contact) {
    const Entries book = {{"ImapMail/Contacts/addressbook.db", book_with("Eve\r\n" + contact)}};
    return Ahead(System::xandros).archive(book).see(foresee_letters).size();
  };
  const std::string told = "ORG;CHARSET=UTF-8:M\xc3\xbcller";
  EXPECT_EQ(0U, seen(told));
  EXPECT_EQ(0U, seen(told + "\r\nPHOTO;ENCODING=b:/9j/4A=="));
  EXPECT_EQ(1U, seen(told + "\r\nTITLE:M\xc3\xbcller"));
  EXPECT_EQ(1U, seen("ORG;CHARSET=none:M\xc3\xbcller"));
}

TEST(Before, accounts_in_another_character_set_are_noted_where_it_is_guessed) {
  const Lines account = {
      "Brindle/ImapMail/brindle-email-accounts/1: Its letters are not in UTF-8 and are taken for "
      "CP1252; letters of any other character set will come out wrong."};
  for (const System system : {System::gnome, System::linspire}) {
    EXPECT_EQ(account, Ahead(system).archive(written_with("M\xfcller")).see(foresee_letters));
    EXPECT_EQ(Lines{}, Ahead(system).archive(written_with("M\xc3\xbcller")).see(foresee_letters));
  }
}

// ---- Network drives ------------------------------------------------------------------------------------

TEST(Before, each_drive_that_breaks_the_list_of_drives_is_named) {
  const std::string text =
      ": No network drive will be seen in the file manager: its name or address holds & or <, or is not "
      "UTF-8.";
  const Entries drives = {{"Mapped_Drives/a.txt", "//srv/public\r\nPublic (P)\r\n"},
                          {"Mapped_Drives/b.txt", "//srv/r&d\nResearch (Q)\n"},
                          {"Mapped_Drives/c.txt",
                           "//srv/b\xc3\xbc"
                           "cher\nB\xc3\xbc"
                           "cher (R)\n"},
                          {"Mapped_Drives/d.txt",
                           "//srv/books\nB\xfc"
                           "cher (S)\n"},
                          {"Mapped_Drives/e.txt", "//srv/e\nR<D (T)\nthird line & more\n"},
                          {"Mapped_Drives/f.txt", "//srv/f\nF (U)\nthird line & more\n"},
                          {"Mapped_Drives/folder/a.txt", "//srv/a&b\nA (V)\n"},
                          {"Profiles/zoe/Mapped_Drives/a.txt", "//srv/a&b\nA (V)\n"}};
  for (const System system : {System::nld, System::redflag}) {
    EXPECT_EQ(
        (Lines{"Brindle/Mapped_Drives/b.txt" + text, "Brindle/Mapped_Drives/d.txt" + text,
               "Brindle/Mapped_Drives/e.txt" + text, "zoe Brindle/Profiles/zoe/Mapped_Drives/a.txt" + text}),
        Ahead(system).profile("zoe").archive(drives).see(foresee_drives));
  }
}

// ---- Printers ------------------------------------------------------------------------------------------

std::string printer(const std::string& port, const std::string& queue) {
  return "Port Name=" + port + "\r\nDriver Name=Some Printer\r\nDriver Name Wo Spaces=" + queue + "\r\n";
}

TEST(Before, printers_that_share_a_queue_are_named) {
  const Ahead ahead = Ahead().archive({{"Printers/a.txt", printer("LPT1", "Some")},
                                       {"Printers/b.txt", printer("LPT2", "Other")},
                                       {"Printers/c.txt", printer("USB001", "Some")}});
  const Lines lines = ahead.see(foresee_printers);
  EXPECT_EQ(
      "Brindle/Printers/c.txt: It would get the same print queue as Brindle/Printers/a.txt; only the last "
      "one stays.",
      lines.back());
  EXPECT_EQ(4u, lines.size());  // a window for each of the three, whose driver's name has two words
}

TEST(Before, ports_are_judged_as_they_are_moved) {
  const Entries ports = {{"Printers/1", printer("C:\\out.prn", "a")},
                         {"Printers/2", printer("FILE:", "b")},
                         {"Printers/3", printer("LPT3", "c")},
                         {"Printers/4", printer("//server/hp", "d")},
                         {"Printers/5", printer("http://srv:631/p", "e")}};
  const std::string window =
      ": No driver is found automatically for Some Printer; a window will ask for one.";
  EXPECT_EQ(
      (Lines{"Brindle/Printers/1: Its port C:\\out.prn has no counterpart; it is not moved.",
             "Brindle/Printers/2: Its port FILE: has no counterpart; it is not moved.",
             "Brindle/Printers/3: Its port LPT3 has no counterpart; it is not moved.",
             "Brindle/Printers/4: It is shared by another computer; a window will ask for name and password.",
             "Brindle/Printers/4" + window, "Brindle/Printers/5" + window}),
      Ahead().archive(ports).see(foresee_printers));
}

TEST(Before, only_root_makes_queues) {
  EXPECT_EQ((Lines{"Brindle/Printers: Only the administrator can make print queues."}),
            Ahead().as_user().archive({{"Printers/1", printer("LPT1", "a")}}).see(foresee_printers));
}

// The program that lists drivers, and what it was asked.
void answer_driver_search(const std::string& program, const std::string& body) {
  write_file("/usr/local/bin/" + program, "#!/bin/sh\n" + body);
  chmod(("/usr/local/bin/" + program).c_str(), 0755);
}

// A stand-in for foomatic-ppdfile-bd that knows some texts; each call adds a line to /tmp/asked.
void answer_foomatic_search(const std::string& known) {
  answer_driver_search("foomatic-ppdfile-bd",
                       "printf '%s|' \"$@\" >>/tmp/asked; echo >>/tmp/asked\n"
                       "for word; do\n"
                       "  case $word in " +
                           known +
                           ") echo found;; esac\n"
                           "  [ $# = 1 ] || echo\n"
                           "done\n");
}

// The names of the printers that a window is foreseen for; `drivers` are those of the printers 1, 2, ...
Lines windows_for(const Lines& drivers) {
  Entries printers;
  for (const std::string& driver : drivers) {
    const std::string number = std::to_string(printers.size() + 1);
    printers.emplace_back("Printers/" + number, "Port Name=LPT1\nDriver Name=" + driver +
                                                    "\nDriver Name Wo Spaces=" + number + "\n");
  }
  unlink("/tmp/asked");
  const Lines seen = Ahead(System::xandros).archive(printers).see(foresee_printers);
  Lines numbers;
  for (const std::string& line : seen) {
    const std::size_t begin = std::string_view("Brindle/Printers/").size(), end = line.find(": No driver is");
    EXPECT_NE(std::string::npos, end) << line;
    numbers.push_back(line.substr(begin, end - begin));
  }
  return numbers;
}

TEST(Before, a_driver_is_looked_for_with_ever_fewer_words) {
  answer_foomatic_search("'-PHP LaserJet'|'-PHP LaserJet 4050'|'-PHP DeskJet 840C V2'");
  EXPECT_EQ(Lines{}, windows_for({"HP LaserJet 4050 Series PCL6"}));
  EXPECT_EQ("-PHP LaserJet 4050|-PHP LaserJet 4050 Series|-PHP LaserJet 4050 Series PCL6|\n",
            read_file("/tmp/asked"));
  EXPECT_EQ(Lines{}, windows_for({"HP DeskJet 840C V2"}));
  EXPECT_EQ(Lines{"1"}, windows_for({"HP LaserJet"}));
  EXPECT_FALSE(exists("/tmp/asked"));
}

// The wizard begins with ten words, and searches with what it has between two blanks.
TEST(Before, a_driver_is_looked_for_as_the_wizard_does) {
  answer_foomatic_search("'-P1 2 3 4 5 6 7 8 9 10'");
  EXPECT_EQ((Lines{"2"}), windows_for({"1 2 3 4 5 6 7 8 9 10 11 12", "2 2 3 4 5 6 7 8 9 10"}));
  EXPECT_THAT(read_file("/tmp/asked"), testing::Not(testing::HasSubstr(" 11")));
  answer_foomatic_search("'-P LaserJet 4050'|'-PHP LaserJet '");
  EXPECT_EQ(Lines{"4"},
            windows_for({"HP LaserJet  4050", "HP LaserJet ", " LaserJet 4050", "LaserJet 4050"}));
}

TEST(Before, a_driver_of_three_words_is_looked_for_alone) {
  answer_foomatic_search("'-PHP LaserJet 4050'");
  EXPECT_EQ(Lines{}, windows_for({"HP LaserJet 4050"}));
  EXPECT_EQ("-PHP LaserJet 4050|\n", read_file("/tmp/asked"));
  EXPECT_EQ(Lines{"1"}, windows_for({"HP DeskJet 690C"}));
  EXPECT_EQ("-PHP DeskJet 690C|\n", read_file("/tmp/asked"));
}

TEST(Before, the_drivers_of_all_printers_are_looked_for_in_one_call) {
  answer_foomatic_search("'-PHP LaserJet 4050'|'-PZebra Label 1'");
  EXPECT_EQ((Lines{"2", "4"}), windows_for({"Zebra Label 1", "HP DeskJet 690C", "HP LaserJet 4050 Series",
                                            "Some Printer", "HP LaserJet 4050", "Zebra Label 1"}));
  EXPECT_EQ("-PHP DeskJet 690C|-PHP LaserJet 4050|-PHP LaserJet 4050 Series|-PZebra Label 1|\n",
            read_file("/tmp/asked"));
}

TEST(Before, no_driver_is_looked_for_whose_printer_is_not_moved) {
  answer_foomatic_search("none");
  Ahead(System::xandros)
      .archive({{"Printers/1", "Port Name=LPT3\nDriver Name=HP DeskJet 690C\n"},
                {"Printers/2", "Port Name=LPT2\nDriver Name=HP LaserJet 4050\n"}})
      .see(foresee_printers);
  EXPECT_EQ("-PHP LaserJet 4050|\n", read_file("/tmp/asked"));
}

// The last one given counts, as with most programs.
TEST(Before, a_program_that_takes_one_text_a_call_is_asked_for_each) {
  answer_driver_search("foomatic-ppdfile-bd",
                       "printf '%s|' \"$@\" >>/tmp/asked; echo >>/tmp/asked\n"
                       "for word; do :; done\n"
                       "case $word in '-PHP LaserJet 4050'|'-PZebra Label 1') echo found;; esac\n");
  EXPECT_EQ(Lines{"2"},
            windows_for({"Zebra Label 1", "HP DeskJet 690C Series", "HP LaserJet 4050 Series PCL6"}));
  EXPECT_EQ(
      "-PHP DeskJet 690C|-PHP DeskJet 690C Series|-PHP LaserJet 4050|-PHP LaserJet 4050 Series|"
      "-PHP LaserJet 4050 Series PCL6|-PZebra Label 1|\n"
      "-PHP DeskJet 690C Series|\n-PHP DeskJet 690C|\n"
      "-PHP LaserJet 4050 Series PCL6|\n-PHP LaserJet 4050 Series|\n-PHP LaserJet 4050|\n"
      "-PZebra Label 1|\n",
      read_file("/tmp/asked"));
}

TEST(Before, more_texts_than_a_call_takes_are_asked_for_in_several) {
  answer_foomatic_search("'-P1 '*|'-P44 abcdefghijkl abcdefghijkl'|'-P9 '*");
  std::string words;
  for (int i = 0; i < 9; ++i) words += " abcdefghijkl";
  Lines drivers, unknown;
  for (int i = 1; i <= 200; ++i) {
    drivers.push_back(std::to_string(i) + words);
    if (i != 1 && i != 9 && i != 44) unknown.push_back(std::to_string(i));
  }
  std::ranges::sort(unknown);  // as the archive's entries are
  EXPECT_EQ(unknown, windows_for(drivers));
  const std::string asked = read_file("/tmp/asked");
  EXPECT_EQ(200 * 8, std::ranges::count(asked, '|'));
  EXPECT_EQ(3, std::ranges::count(asked, '\n'));
  for (std::size_t at = 0, end; (end = asked.find('\n', at)) != std::string::npos; at = end + 1)
    EXPECT_LT(end - at, 64 * 1024u);
}

TEST(Before, the_database_is_read_once_for_all_drivers) {
  ASSERT_EQ(0, shell_quietly("install " + test_data("../data/foomatic/foomatic-ppdfile-bd") +
                             " /usr/local/bin/foomatic-ppdfile-bd"));
  answer_driver_search("foomatic-combo-xml", "echo >>/tmp/reads\nexec /usr/bin/foomatic-combo-xml \"$@\"\n");
  EXPECT_EQ((Lines{"2", "3"}), windows_for({"HP LaserJet 4050 Series PCL6", "No Such Printer 4050", "- - -",
                                            "HP DeskJet 690C"}));
  EXPECT_EQ("\n", read_file("/tmp/reads"));
}

TEST(Before, on_gnome_a_driver_must_be_recommended) {
  answer_driver_search(
      "lpinfo", "echo 'a.ppd HP LaserJet 4050 Foomatic/ljet4 (recommended)'; echo 'b.ppd HP DeskJet 690C'\n");
  const auto asked_for = [](const std::string& driver) {
    return Ahead()
        .archive({{"Printers/1", "Port Name=LPT1\nDriver Name=" + driver + "\nDriver Name Wo Spaces=q\n"}})
        .see(foresee_printers);
  };
  EXPECT_EQ(Lines{}, asked_for("hp laserjet 4050 Series"));
  EXPECT_EQ(1u, asked_for("HP DeskJet 690C").size());
}

// ---- Login names ---------------------------------------------------------------------------------------

TEST(Before, login_names_are_judged_as_useradd_does) {
  ASSERT_EQ(0, shell_quietly("useradd there"));
  const std::string longest(32, 'a'), longer(33, 'a');
  Ahead ahead;
  for (const std::string& login :
       {std::string("anna"), std::string("there"), std::string("games"), std::string("_x"),
        std::string("a b"), std::string("a:b"), longest, longer, std::string("Anna.B-2")})
    ahead.profile(login);
  ahead.archive({{"users.txt", "x"}});
  EXPECT_EQ(
      (Lines{"there there: There is a user account of this name already.",
             "games games: This name belongs to the system.",
             "_x _x: The name does not begin with a Latin letter or a digit; this person is left out.",
             "a b a b: No user account can have this name.", "a:b a:b: No user account can have this name.",
             longer + " " + longer + ": No user account can have this name."}),
      ahead.see(foresee_logins));
  for (const std::string& login : {longest, std::string("Anna.B-2")})
    EXPECT_EQ(0, shell_quietly("useradd " + login)) << login;
  for (const std::string& login : {std::string("'a b'"), std::string("a:b"), longer})
    EXPECT_NE(0, shell_quietly("useradd " + login + " 2>/dev/null")) << login;
}

TEST(Before, an_archive_of_several_people_needs_root) {
  EXPECT_EQ((Lines{"ann: Only the administrator can move an archive of several people."}),
            Ahead().as_user().profile("ben").archive({{"users.txt", "x"}}).see(foresee_logins));
}

TEST(Before, one_persons_archive_needs_nobody_else) {
  EXPECT_EQ(Lines{}, Ahead().as_user().archive({{"Desktop/a", "x"}}).see(foresee_logins));
}

// ---- Space ---------------------------------------------------------------------------------------------

TEST(Before, space_is_counted_in_blocks) {
  Entries entries;
  for (int i = 0; i < 100; ++i)
    entries.emplace_back("Desktop/" + std::to_string(i), "x");  // 100 blocks of 4 KiB
  const Ahead ahead = Ahead().archive(entries);
  ASSERT_EQ(0, shell_quietly("mount -t tmpfs -o size=380k tmpfs /home/ann"));
  EXPECT_EQ((Lines{"/home/ann: There is too little free space: 1 MB > 1 MB."}), ahead.see(foresee_space));
  ASSERT_EQ(0, shell_quietly("mount -o remount,size=400k /home/ann"));
  EXPECT_EQ(Lines{}, ahead.see(foresee_space));
  ASSERT_EQ(0, shell_quietly("mount -o remount,size=1m,nr_inodes=90 /home/ann"));
  EXPECT_EQ((Lines{"/home/ann: There is no room for so many files: 100 > 89."}), ahead.see(foresee_space));
}

TEST(Before, homes_and_the_work_folder_on_one_disk_need_their_sum) {
  const Ahead ahead = Ahead().profile("ben").archive({{"Desktop/a", std::string(100000, 'x')},
                                                      {"Profiles/ben/Desktop/b", std::string(100000, 'x')},
                                                      {"Wallpaper/c", std::string(100000, 'x')}});
  const std::string keep = read_file(archive_path);
  ASSERT_EQ(0, shell_quietly("mkdir -p /mnt/disk && mount -t tmpfs -o size=700k tmpfs /mnt/disk && "
                             "mkdir /mnt/disk/tmp /mnt/disk/home && mkdir -p /home/ben && "
                             "mount --bind /mnt/disk/home /home && mount --bind /mnt/disk/tmp /tmp"));
  write_file(archive_path, keep);
  const Lines without_archive = ahead.see(foresee_space);
  EXPECT_EQ(0u, without_archive.size());
  write_file("/home/filler", std::string(100000, 'x'));
  EXPECT_EQ(1u, ahead.see(foresee_space).size());
}

// ---- What is there already -----------------------------------------------------------------------------

TEST(Before, files_that_would_be_copied_over_others_are_named) {
  const Ahead ahead = Ahead().archive({{"My Documents/same.txt", "same"},
                                       {"My Documents/other.txt", "mine"},
                                       {"My Documents/new.txt", "new"},
                                       {"Desktop/other.txt", "mine"}});
  write_file("/home/ann/Documents/same.txt", "same");
  write_file("/home/ann/Documents/other.txt", "hers");
  write_file("/home/ann/Desktop/other.txt", "hers");
  EXPECT_EQ((Lines{"other.txt: It is there already and will be replaced.",
                   "other.txt: It is there already and will be replaced."}),
            ahead.see(foresee_replaced));
}

TEST(Before, evolutions_own_files_are_named_where_the_archive_has_that_kind) {
  const Lines files = {".gconf/apps/evolution/mail/%gconf.xml",
                       ".evolution/calendar/local/system/calendar.ics",
                       ".evolution/tasks/local/system/tasks.ics",
                       ".evolution/addressbook/local/system/addressbook.db", ".evolution/mail/local/Inbox"};
  const Lines causes = {"ImapMail/brindle-email-accounts/1", "ImapMail/Calendar/calendar.ics",
                        "ImapMail/Tasks/tasks.ics", "ImapMail/Contacts/addressbook.db", "Mail/Inbox"};
  for (std::size_t i = 0; i < files.size(); ++i) {
    const Ahead ahead = Ahead(System::nld).archive({{causes[i], "archive's"}, {"Mail/Sent", "x"}});
    for (const std::string& file : files) write_file("/home/ann/" + file, "hers");
    EXPECT_EQ((Lines{"/home/ann/" + files[i] + ": It is there already and will be replaced."}),
              ahead.see(foresee_replaced));
  }
}

TEST(Before, kmails_files_are_named) {
  const Ahead ahead = Ahead(System::xandros)
                          .archive({{"ImapMail/brindle-email-accounts/1", "x"},
                                    {"ImapMail/Calendar/calendar.ics", "x"},
                                    {"Notes/a", "x"}});
  for (const char* file : {".kde/share/config/kmailrc", ".kde/share/apps/korganizer/std.ics",
                           ".kde/share/apps/knotes/notes.ics", ".kde/share/apps/kabc/std.vcf"})
    write_file(std::string("/home/ann/") + file, "hers");
  EXPECT_EQ(
      (Lines{
          "/home/ann/.kde/share/config/kmailrc: It is there already and will be removed.",
          "/home/ann/.kde/share/apps/korganizer/std.ics: It is there already and will be replaced.",
          "/home/ann/.kde/share/apps/knotes/notes.ics: It is there already and will be replaced.",
          "/home/ann/.kde/share/apps/kabc/std.vcf: It is there already; what the archive holds is added."}),
      ahead.see(foresee_replaced));
}

TEST(Before, the_suites_profile_is_found) {
  const Ahead ahead =
      Ahead(System::linspire)
          .archive({{"ImapMail/brindle-email-accounts/1", "x"}, {"Mail/Inbox", "x"}, {"Bookmark.htm", "x"}});
  for (const char* file : {"prefs.js", "Mail/Local Folders/Inbox", "bookmarks.html"})
    write_file(std::string("/home/ann/.mozilla/default/salt.slt/") + file, "hers");
  const std::string profile = "/home/ann/.mozilla/default/salt.slt/";
  EXPECT_EQ((Lines{profile + "prefs.js: It is there already and will be replaced.",
                   profile + "bookmarks.html: It is there already and will be replaced.",
                   profile + "Mail/Local Folders/Inbox: It is there already and will be replaced."}),
            ahead.see(foresee_replaced));
}

TEST(Before, what_no_profile_is_is_passed_over) {
  const Ahead ahead = Ahead(System::linspire).archive({{"Bookmark.htm", "x"}});
  for (const char* file : {"pluginreg.dat", "profiles.ini", "salt.slt/bookmarks.html"})
    write_file(std::string("/home/ann/.mozilla/default/") + file, "hers");
  EXPECT_EQ(
      (Lines{
          "/home/ann/.mozilla/default/salt.slt/bookmarks.html: It is there already and will be replaced."}),
      ahead.see(foresee_replaced));
}

// ---- The table -----------------------------------------------------------------------------------------

TEST(Before, the_table_has_one_line_a_warning) {
  const std::vector<Warning> warnings = {
      {"", {}, "a\tb", Foresight::damaged, ""},
      {"ann", Kind::mail_accounts, "home", Foresight::evolution_refuses, "Email"},
      {"ann", Kind::printers, "x", Foresight::driver_window, "HP"}};
  EXPECT_EQ(
      "level\tperson\tkind\tname\ttext\n"
      "warning\t-\t-\ta\\tb\tIt is damaged: its checksum is wrong or its data end early.\n"
      "warning\tann\tmail-accounts\thome\tEvolution will read neither this e-mail account "
      "nor those after it: Email holds & or <.\n"
      "note\tann\tprinters\tx\tNo driver is found automatically for HP; a window will ask for one.\n",
      table_of_warnings(warnings, Texts()));
}

}  // namespace

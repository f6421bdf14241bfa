// Contacts, in the address books of the six systems.
#include <db.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <map>

#include "account/readers/mork.h"
#include "account/readers/vcard.h"
#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using Names = std::vector<std::string>;
using Cards = std::vector<std::pair<std::string, std::string>>;

const std::string evolution = "/home/ann/.evolution/addressbook/local/system/addressbook.db";
const std::string kabc = "/home/ann/.kde/share/apps/kabc/std.vcf";
const std::string mozilla = "/home/ann/.mozilla/default/abc.slt/abook.mab";

struct Form {
  unsigned page_size = 4096;
  int byte_order = 1234;
};

// A book as Evolution keeps it: keys and values end with a NUL.
std::string book(const Cards& cards, Form form = {}) {
  const char* const path = "/tmp/book.db";
  unlink(path);
  DB* database = nullptr;
  EXPECT_EQ(0, db_create(&database, nullptr, 0));
  database->set_pagesize(database, form.page_size);
  database->set_lorder(database, form.byte_order);
  EXPECT_EQ(0, database->open(database, nullptr, path, nullptr, DB_HASH, DB_CREATE, 0600));
  const auto put = [database](std::string key, std::string value) {
    DBT k = {}, v = {};
    k.data = key.data(), k.size = static_cast<u_int32_t>(key.size() + 1);
    v.data = value.data(), v.size = static_cast<u_int32_t>(value.size() + 1);
    EXPECT_EQ(0, database->put(database, nullptr, &k, &v, 0));
  };
  put("PAS-DB-VERSION", "0.2");
  for (const auto& [key, card] : cards) put(key, card);
  EXPECT_EQ(0, database->close(database, 0));
  return read_file(path);
}

std::string card(const std::string& uid, const std::string& name, const std::string& more = "") {
  return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + uid + "\r\nFN:" + name + "\r\n" + more + "END:VCARD";
}

std::string without(std::string text, const std::string& part, const std::string& instead = "") {
  const std::size_t place = text.find(part);
  EXPECT_NE(std::string::npos, place) << part;
  return text.replace(place, part.size(), instead);
}

const std::string ann =
    card("pas-1", "Ann Lee",
         "N:Lee;Ann;;;\r\nEMAIL;TYPE=INTERNET:ann@home.example\r\n"
         "EMAIL;TYPE=INTERNET:ann@work.example\r\nTEL;TYPE=WORK,VOICE:+49 30 1\r\n"
         "TEL;TYPE=CELL:+49 170 2\r\nADR;TYPE=HOME:;;12 Main Street;Berlin;;10115;Germany\r\n"
         "ORG:Lee \\, Sons;Sales\r\nNOTE:Likes tea.\\nNot before nine.\r\n");
const std::string bob = card("pas-2", "Bob", "TEL;TYPE=HOME:3\r\n");
const std::string eve = card("pas-3", "Eve", "EMAIL:eve@home.example\r\n");
const Cards all = {{"pas-1", ann}, {"pas-2", bob}, {"pas-3", eve}};

Scene::Entries archive_of(const std::string& bytes) {
  return {{"ImapMail/brindle-email-accounts/", ""}, {"ImapMail/Contacts/addressbook.db", bytes}};
}

// ---- Evolution -------------------------------------------------------------------------------------------

TEST(Contacts, evolution_has_the_book_itself) {
  for (const System system : {System::gnome, System::nld}) {
    const Scene scene(system, archive_of(book(all)));
    write_file(evolution, book(all));
    EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::contacts)));
  }
  const Scene scene(System::gnome, archive_of(book(all)));
  write_file("/home/ann/evolution/local/Contacts/addressbook.db", book(all));
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::contacts)));
}

// A long value has pages of its own in any of them.
TEST(Contacts, books_of_every_form_are_read) {
  Cards cards = all;
  cards.emplace_back("pas-4", card("pas-4", "Long", "NOTE:" + std::string(200000, 'x') + "\r\n"));
  for (int i = 100; i < 400; ++i)
    cards.emplace_back(std::to_string(i), card(std::to_string(i), "Number " + std::to_string(i)));
  const std::string plain = book(cards);
  for (const unsigned size : {512U, 1024U, 8192U, 65536U}) {
    for (const int order : {1234, 4321}) {
      const Scene scene(System::gnome, archive_of(book(cards, {size, order})));
      write_file(evolution, plain);
      EXPECT_EQ("304 304 0 0 0", numbers(scene.look(Kind::contacts))) << size << " " << order;
    }
  }
}

TEST(Contacts, each_contact_that_is_deleted_or_altered_is_named_alone) {
  const Scene scene(System::gnome, archive_of(book(all)));
  write_file(evolution, book({all[0], all[2]}));
  EXPECT_EQ((Names{"Bob: It is not there."}), missing_names(scene.look(Kind::contacts)));
  EXPECT_EQ("3 2 0 0 1", numbers(scene.look(Kind::contacts)));
  const struct {
    const char *part, *instead, *differs;
  } changes[] = {{"ann@work", "anne@work", "EMAIL"},
                 {"TEL;TYPE=CELL:+49 170 2\r\n", "", "TEL"},
                 {"TYPE=CELL", "TYPE=FAX", "TEL"},
                 {"10115", "10116", "ADR"},
                 {"Sales", "Sale", "ORG"},
                 {"before", "after", "NOTE"},
                 {"FN:Ann Lee", "FN:Anna Lee", "FN"},
                 {"NOTE:", "TITLE:Dr\r\nNOTE:", "TITLE"}};
  for (const auto& [part, instead, differs] : changes) {
    write_file(evolution, book({{"pas-1", without(ann, part, instead)}, all[1], all[2]}));
    EXPECT_EQ((Names{std::string("Ann Lee: It is there, but differs: ") + differs + "."}),
              missing_names(scene.look(Kind::contacts)));
  }
}

// Folding, order, groups, line ends, escapes, encodings and character sets say nothing.
TEST(Contacts, another_way_to_write_the_same_is_the_same) {
  const std::string before =
      card("pas-9", "Bj\xC3\xB6rn",
           "NOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=ISO-8859-1:Gr=FC=DFe=0D=0A=\r\nzwei\r\n"
           "item1.TEL;WORK;VOICE:5\r\nTITLE;ENCODING=b:RHIu\r\nURL:http\r\n ://a.example\r\n");
  const std::string after =
      "BEGIN:VCARD\nVERSION:3.0\nURL:http://a.example\nTEL;TYPE=VOICE;TYPE=WORK:5\nTITLE:Dr.\n"
      "UID:pas-9\nFN:Bj\xC3\xB6rn\nNOTE:Gr\xC3\xBC\xC3\x9F"
      "e\\nzwei\nEND:VCARD\n";
  const Scene scene(System::gnome, archive_of(book({{"pas-9", before}})));
  write_file(evolution, book({{"pas-9", after}}));
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::contacts)));
  write_file(evolution, book({{"pas-9", without(after, "\\nzwei", "\\ndrei")}}));
  EXPECT_EQ((Names{"Bj\xC3\xB6rn: It is there, but differs: NOTE."}),
            missing_names(scene.look(Kind::contacts)));
}

TEST(Contacts, a_picture_counts) {
  const std::string with = card("pas-5", "Pat", "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQ\r\n SkZJRg==\r\n");
  const Scene scene(System::gnome, archive_of(book({{"pas-5", with}})));
  write_file(evolution, book({{"pas-5", without(with, "\r\n SkZJ", "SkZJ")}}));
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::contacts)));
  write_file(evolution, book({{"pas-5", without(with, "SkZJ", "SkZK")}}));
  EXPECT_EQ((Names{"Pat: It is there, but differs: PHOTO."}), missing_names(scene.look(Kind::contacts)));
}

TEST(Contacts, two_contacts_alike_need_two) {
  const Scene scene(System::gnome, archive_of(book({{"1", bob}, {"2", bob}})));
  write_file(evolution, book({{"1", bob}}));
  EXPECT_EQ((Names{"Bob: It is not there."}), missing_names(scene.look(Kind::contacts)));
}

TEST(Contacts, a_damaged_book_there_is_named) {
  const Scene scene(System::gnome, archive_of(book(all)));
  const std::string refused = ": Its program cannot read " + evolution + ".";
  const Names each = {"Ann Lee" + refused, "Bob" + refused, "Eve" + refused};
  write_file(evolution, book(all).substr(0, 4096));
  EXPECT_EQ(each, missing_names(scene.look(Kind::contacts)));
  write_file(evolution, ann + "\n" + bob + "\n" + eve + "\n");
  EXPECT_EQ(each, missing_names(scene.look(Kind::contacts)));
  unlink(evolution.c_str());
  EXPECT_EQ("Bob: Its place " + evolution + " is not there.",
            missing_names(scene.look(Kind::contacts)).at(1));
}

TEST(Contacts, a_damaged_book_in_the_archive_is_named_and_nothing_is_certain) {
  const Scene scene(System::gnome, archive_of(book(all).substr(0, 5000)));
  write_file(evolution, book(all));
  const Tally tally = scene.look(Kind::contacts);
  EXPECT_EQ("ImapMail/Contacts/addressbook.db: It is damaged in the archive.", missing_names(tally).back());
  EXPECT_FALSE(tally.certain());
}

// Every byte of a small book overwritten, one after the other: the account comes to an end each time, and all
// temporary copies are gone.
TEST(Contacts, no_book_does_harm) {
  const std::string sound = book({all[1], all[2]}, {.page_size = 512});
  for (std::size_t i = 0; i < sound.size(); i += 7) {
    std::string damaged = sound;
    damaged[i] = static_cast<char>(damaged[i] ^ 0xff);
    const Scene scene(System::gnome, archive_of(damaged));
    write_file(evolution, sound);
    const Tally tally = scene.look(Kind::contacts);
    EXPECT_EQ(tally.found(), tally.unchanged() + tally.missing().size());
    // What can no longer be read is named, be it only by the book.
    EXPECT_TRUE(tally.unchanged() == 2 || !tally.missing().empty()) << i;
  }
  EXPECT_EQ(0, shell_quietly("! ls /tmp/brindle-account.* 2>/dev/null"));
}

TEST(Contacts, evolution_looks_only_when_accounts_are_there) {
  const Scene scene(System::gnome, {{"ImapMail/Contacts/addressbook.db", book({all[1]})}});
  EXPECT_EQ(
      (Names{"Bob: It is only looked at when the archive has ImapMail/brindle-email-accounts as well."}),
      missing_names(scene.look(Kind::contacts)));
}

// ---- KAddressBook ----------------------------------------------------------------------------------------

TEST(Contacts, kaddressbook_has_them_behind_the_persons_own) {
  const std::string own = "BEGIN:VCARD\nFN:Own\nUID:own\nEND:VCARD\n";
  for (const System system : {System::xandros, System::redflag}) {
    const Scene scene(system, archive_of(book(all)));
    write_file(kabc, own + eve + "\n\n" + ann + "\n\n" + bob + "\n");
    EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::contacts)));
    write_file(kabc, own + eve + "\n" + without(ann, "+49 30 1", "+49 30 2") + "\n");
    EXPECT_EQ((Names{"Ann Lee: It is there, but differs: TEL.", "Bob: It is not there."}),
              missing_names(scene.look(Kind::contacts)));
    // Without a line end behind the person's own the first one has no beginning.
    write_file(kabc, own.substr(0, own.size() - 1) + eve + "\n" + ann + "\n" + bob + "\n");
    EXPECT_EQ((Names{"Eve: It is not there."}), missing_names(scene.look(Kind::contacts)));
  }
}

TEST(Contacts, redflag_plus_has_a_file_of_its_own) {
  const Scene scene(System::redflag_plus, archive_of(book(all)));
  write_file(kabc, eve + "\n" + ann + "\n" + bob + "\n");
  EXPECT_EQ("3 0 0 0 3", numbers(scene.look(Kind::contacts)));
  write_file(kabc + "_\xC5\xF3\xD3\xD1", eve + "\n" + ann + "\n" + bob + "\n");
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::contacts)));
}

TEST(Contacts, kaddressbook_gets_chinese_letters_and_no_others) {
  const std::string chinese = card("c", "\xBB\xE1\xD2\xE9");
  const Scene scene(System::redflag, archive_of(book({{"c", chinese}, {"b", bob}})));
  write_file(kabc, card("c", "\xE4\xBC\x9A\xE8\xAE\xAE") + "\n" + bob + "\n");
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::contacts)));

  const Scene other(System::redflag, archive_of(book({{"u", card("u", "Ren\xC3\xA9")}, {"b", bob}})));
  write_file(kabc, card("u", "Ren\xE8\x8C\x85") + "\n" + bob + "\n");
  EXPECT_EQ(
      (Names{"Ren\xC3\xA9: Its letters are not in the character set GB2312, which this desktop takes them "
             "for."}),
      missing_names(other.look(Kind::contacts)));
  write_file(kabc, card("u", "Ren\xC3\xA9") + "\n" + bob + "\n");
  EXPECT_EQ("2 2 0 0 0", numbers(other.look(Kind::contacts)));
}

TEST(Contacts, kaddressbook_needs_no_accounts) {
  const Scene scene(System::xandros, {{"ImapMail/Contacts/addressbook.db", book({all[1]})}});
  write_file(kabc, bob + "\n");
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::contacts)));
}

// ---- Mozilla ---------------------------------------------------------------------------------------------

const std::string mab = R"(// <!-- <mdb:mork:z v="1.4"/> -->
< <(a=c)> // (f=iso-8859-1)
  (80=ns:addrbk:db:row:scope:card:all)(81=ns:addrbk:db:row:scope:list:all)
  (83=FirstName)(84=LastName)(87=DisplayName)(88=NickName)(89=PrimaryEmail)
  (8B=SecondEmail)(8F=WorkPhone)(90=HomePhone)(93=CellularNumber)
  (94=HomeAddress)(96=HomeCity)(98=HomeZipCode)(99=HomeCountry)
  (A4=Company)(A3=Department)(AE=Notes)(BF=LastRecordKey)(C0=ns:addrbk:db:table:kind:pab)>

<(93=Ann)(94=Lee)(95=Ann Lee)(96=ann@home.example)(97=ann@work.example)(98=+49 30 1)
  (99=+49 170 2)(9A=12 Main Street)(9B=Berlin)(9C=10115)(9D=Germany)(9E=Lee , Sons)
  (9F=Sales)(A0=Likes tea.$0ANot before nine.)(A1=Bob)(A2=3)(A3=Eve)(A4=eve@home.exa\
mple)(A5=2)>
{1:^80 {(k^C0:c)(s=9)} 
  [1:^82(^BF=3)]
  [1(^83^93)(^84^94)(^87^95)(^89^96)(^8B^97)(^8F^98)(^93^99)(^94^9A)(^96^9B)
    (^98^9C)(^99^9D)(^A4^9E)(^A3^9F)(^AE^A0)]
  [2(^87^A1)(^90^A2)]
  [3(^87^A3)(^89^A4)]}
)";

TEST(Contacts, mozilla_has_what_its_book_has_places_for) {
  const Scene scene(System::linspire, archive_of(book(all)));
  write_file(mozilla, mab);
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::contacts)));
}

TEST(Contacts, each_contact_that_mozilla_lacks_is_named_alone) {
  const Scene scene(System::linspire, archive_of(book(all)));
  const struct {
    const char *part, *instead, *missing;
  } changes[] = {{"[2(^87^A1)(^90^A2)]", "", "Bob: It is not there."},
                 {"(^90^A2)", "", "Bob: It is there, but differs: TEL."},
                 {"ann@work", "anne@work", "Ann Lee: It is there, but differs: EMAIL."},
                 {"(9B=Berlin)", "(9B=Bonn)", "Ann Lee: It is there, but differs: ADR."},
                 {"$0A", "$0B", "Ann Lee: It is there, but differs: NOTE."},
                 {"(9F=Sales)", "(9F=)", "Ann Lee: It is there, but differs: ORG."}};
  for (const auto& [part, instead, missing] : changes) {
    write_file(mozilla, without(mab, part, instead));
    EXPECT_EQ((Names{missing}), missing_names(scene.look(Kind::contacts)));
  }
}

// Later changes stand behind, in groups.
TEST(Contacts, mozillas_last_changes_count) {
  const Scene scene(System::linspire, archive_of(book(all)));
  write_file(mozilla, mab +
                          "\n@$${4{@\n<(A6=eve@new.example)>\n{1:^80 {(k^C0:c)(s=9)} -2 "
                          "[-1(^87^95)]}\n[3:^80(^89^A6)]\n@$$}4}@\n");
  EXPECT_EQ((Names{"Ann Lee: It is there, but differs: ADR, EMAIL, N, NOTE, ORG, TEL.",
                   "Bob: It is not there.", "Eve: It is there, but differs: EMAIL."}),
            missing_names(scene.look(Kind::contacts)));
}

TEST(Contacts, fields_without_a_place_in_mozilla_change_a_contact) {
  for (const char* more : {"X-EVOLUTION-FILE-AS:Bob\r\n", "TEL;TYPE=CAR:4\r\n", "TEL;TYPE=HOME:5\r\n",
                           "N:;;Middle;;\r\n", "ADR:;;Street;;;;\r\n"}) {
    const Scene scene(System::linspire,
                      archive_of(book({{"pas-2", without(bob, "END:", more + std::string("END:"))}})));
    write_file(mozilla, mab);
    EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::contacts))) << more;
  }
}

// A family name of one letter could be two letters of a Western one.
TEST(Contacts, in_chinese_letters_are_mozillas_whatever_the_language) {
  const Scene scene(System::linspire,
                    archive_of(book({{"1", card("1", "\xc0\xee \xc3\xf7", "NICKNAME:\xc0\xee\r\n")}})));
  const std::string there =
      "// <!-- <mdb:mork:z v=\"1.4\"/> -->\n< <(a=c)> (80=ns:addrbk:db:row:scope:card:all)(87=DisplayName)"
      "(88=NickName)>\n<(A1=$E6$9D$8E $E6$98$8E)(A2=$E6$9D$8E)>\n{1:^80 {(k^C0:c)(s=9)}\n"
      "[1(^87^A1)(^88^A2)]}\n";
  write_file(mozilla, there);
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::contacts)));
  write_file(mozilla, without(there, "(A2=$E6$9D$8E)", "(A2=$E6$9D$8F)"));
  EXPECT_EQ("1 0 0 0 1", numbers(scene.look(Kind::contacts)));
}

TEST(Contacts, a_book_that_mozilla_cannot_read_is_named) {
  const Scene scene(System::linspire, archive_of(book({all[1]})));
  write_file(mozilla, "imported abook\n<contacts/>\n");
  EXPECT_EQ((Names{"Bob: Its program cannot read " + mozilla + "."}),
            missing_names(scene.look(Kind::contacts)));
  unlink(mozilla.c_str());
  EXPECT_EQ((Names{"Bob: Its place " + mozilla + " is not there."}),
            missing_names(scene.look(Kind::contacts)));
}

TEST(Contacts, mork_that_names_one_long_text_often_is_read_as_far_as_it_has_room) {
  std::string text = "<<(a=c)>(80=X)> <(81=" + std::string(1 << 18, 'x') + ")>";
  for (int row = 1; row <= 10000; ++row) text += "[" + std::to_string(row) + ":1(^80^81)]";
  std::size_t bytes = 0;
  for (const MorkRow& row : mork_rows(text)) bytes += row.at("X").size();
  EXPECT_GE(bytes, std::size_t{1} << 20);
  EXPECT_LE(bytes, 16 * text.size() + (1 << 20));
}

// Each "=" at a line's end asks again whether the line is quoted-printable.
TEST(Contacts, a_card_of_endless_folds_is_read_in_time) {
  std::string text = "BEGIN:VCARD\nNOTE";
  for (int line = 0; line < 200000; ++line) text += "\n =";
  const std::clock_t begun = std::clock();
  EXPECT_TRUE(Card(text + "\nEND:VCARD\n", [](std::string_view bytes) { return std::string(bytes); })
                  .fields()
                  .empty());
  EXPECT_LT(std::clock() - begun, 10 * CLOCKS_PER_SEC);
}

TEST(Contacts, mork_that_ends_anywhere_is_read) {
  const Scene scene(System::linspire, archive_of(book({all[1]})));
  for (std::size_t i = 0; i < mab.size(); i += 3) {
    write_file(mozilla, mab.substr(0, i));
    EXPECT_EQ(1U, scene.look(Kind::contacts).found());
  }
}

}  // namespace

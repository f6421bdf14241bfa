#include "pack/contacts/mork.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

const std::string head = "// <!-- <mdb:mork:z v=\"1.4\"/> -->\n";
const std::string names =
    "< <(a=c)> // (f=iso-8859-1)\n"
    "  (80=ns:addrbk:db:row:scope:card:all)\n  (81=ns:addrbk:db:row:scope:list:all)\n"
    "  (82=ns:addrbk:db:row:scope:data:all)(83=FirstName)(84=LastName)\n"
    "  (87=DisplayName)(89=PrimaryEmail)(B0=ListName)(C0=ns:addrbk:db:table:kind:pab)\n"
    "  (C1=ns:addrbk:db:table:kind:deleted)(C2=LastRecordKey)>\n\n";
const std::string table = "{1:^80 {(k^C0:c)(s=9)} [1:^82(^C2=2)] ";

using Card = std::map<std::string, std::string>;

std::vector<Card> cards_of(const std::string& text) {
  const auto book = pack::read_mork(head + names + text);
  EXPECT_TRUE(book);
  return book ? book->cards : std::vector<Card>();
}

TEST(Mork, CellsHaveValuesOfTheirOwnAndOfDictionaries) {
  EXPECT_THAT(cards_of("<(81=Ann)(82\n =Lee)>\n" + table +
                       "[1(^83^81)(^84=Smith)(^89=a@b.example)(^87=)] [2(^83=Bob)(^84^82:a)(Custom=x)]}"),
              ElementsAre(Card{{"FirstName", "Ann"}, {"LastName", "Smith"}, {"PrimaryEmail", "a@b.example"}},
                          Card{{"FirstName", "Bob"}, {"LastName", "Lee"}, {"Custom", "x"}}));
}

TEST(Mork, ValuesHaveEscapes) {
  EXPECT_THAT(cards_of(table + "[1(^83=\\)\\$\\\\ // a)(^84=$C3$a4$41)(^87=one \\\n two)(^89=$4)]}"),
              ElementsAre(Card{{"FirstName", ")$\\ // a"},
                               {"LastName",
                                "ä"
                                "A"},
                               {"DisplayName", "one  two"},
                               {"PrimaryEmail", "$4"}}));
  EXPECT_THAT(cards_of(table + "[1(^83=one\\\r\ntwo)]}"), ElementsAre(Card{{"FirstName", "onetwo"}}));
}

TEST(Mork, ValuesAreUtf8OrLatin1) {
  EXPECT_THAT(cards_of(table + "[1(^83=\xC3\xA4)(^84=\xE4)(^87=$E4)]}"),
              ElementsAre(Card{{"FirstName", "ä"}, {"LastName", "ä"}, {"DisplayName", "ä"}}));
  EXPECT_THAT(cards_of(table + "[1(^83=$80)(^84=\xE4$81)(^87=a$00b)]}"),
              ElementsAre(Card{
                  {"FirstName", "€"}, {"LastName", "ä\xC2\x81"}, {"DisplayName", std::string("a\0b", 3)}}));
}

TEST(Mork, LaterWordsReplaceEarlierOnes) {
  const std::string one = table + "[1(^83=Ann)(^84=Lee)] [2(^83=Bob)]}\n";
  EXPECT_THAT(cards_of(one + "[1:^80(^83=Anna)(^84=)]"),
              ElementsAre(Card{{"FirstName", "Anna"}}, Card{{"FirstName", "Bob"}}));
  EXPECT_THAT(cards_of(one + "[-1:^80(^83=Anna)]"),
              ElementsAre(Card{{"FirstName", "Anna"}}, Card{{"FirstName", "Bob"}}));
  EXPECT_THAT(cards_of(one + "[1:^80 -(^83=Ann)]"),
              ElementsAre(Card{{"LastName", "Lee"}}, Card{{"FirstName", "Bob"}}));
  EXPECT_THAT(cards_of(one + "[1:^80 -(^83)]"),
              ElementsAre(Card{{"LastName", "Lee"}}, Card{{"FirstName", "Bob"}}));
}

TEST(Mork, RowsLeaveTables) {
  const std::string two = table + "[1(^83=Ann)] [2(^83=Bob)]}\n";
  EXPECT_THAT(cards_of(two + "{1:^80 -1}"), ElementsAre(Card{{"FirstName", "Bob"}}));
  EXPECT_THAT(cards_of(two + "{1:^80 -1 1!0 -2}"), ElementsAre(Card{{"FirstName", "Ann"}}));
  EXPECT_THAT(cards_of(two + "{-1:^80 2}"), ElementsAre(Card{{"FirstName", "Bob"}}));
  EXPECT_THAT(cards_of(two + "{1:^80 -[1:^80]}"), ElementsAre(Card{{"FirstName", "Bob"}}));
  EXPECT_THAT(cards_of("[1:^80(^83=Ann)]" + table + "1}"), ElementsAre(Card{{"FirstName", "Ann"}}));
  EXPECT_THAT(cards_of("[1:^80(^83=Ann)]" + table + "}"), IsEmpty()) << "in no table";
}

TEST(Mork, TablesOfDeletedCardsAreNone) {
  EXPECT_THAT(cards_of(table + "[1(^83=Ann)]} {2:^80 {(k^C1:c)(s=9)} [3(^83=gone)]}"),
              ElementsAre(Card{{"FirstName", "Ann"}}));
}

TEST(Mork, GroupsOfChangesCountWhenTheyAreWhole) {
  const std::string one = table + "[1(^83=Ann)]}\n";
  EXPECT_THAT(cards_of(one + "@$${1{@\n<(90=Anna)>\n[1:^80(^83^90)]\n@$$}1}@\n"),
              ElementsAre(Card{{"FirstName", "Anna"}}));
  EXPECT_THAT(cards_of(one + "@$${1{@\n[1:^80(^83=Anna)]\n@$$}~~}@\n[1:^80(^84=Lee)]"),
              ElementsAre(Card{{"FirstName", "Ann"}, {"LastName", "Lee"}}))
      << "taken back";
  EXPECT_THAT(cards_of(one + "@$${1{@\n[1:^80(^83=Anna)]\n@$$}1}@\n@$${2{@\n[1:^80(^83=Annie)]\n@$$}2}@\n"),
              ElementsAre(Card{{"FirstName", "Annie"}}));
  const auto cut = pack::read_mork(head + names + one + "@$${1{@\n[1:^80(^83=Anna)]\n");
  EXPECT_THAT(cut->cards, ElementsAre(Card{{"FirstName", "Ann"}})) << "not finished";
  EXPECT_FALSE(cut->is_whole);
}

TEST(Mork, WhatIsCutIsKnownToBe) {
  const std::string whole = head + names + "<(81=Ann)>" + table + "[1(^83^81)(^84=Lee)]}";
  EXPECT_TRUE(pack::read_mork(whole)->is_whole);
  for (std::size_t left = whole.size() - 1; left > head.size() + names.size() + 1; --left) {
    const auto book = pack::read_mork(whole.substr(0, left));
    const bool is_between = whole[left - 1] == '>' && whole[left] == '{';
    EXPECT_EQ(book->is_whole, is_between) << whole.substr(0, left);
    EXPECT_LE(book->cards.size(), 1U);
  }
}

TEST(Mork, ListsAreFound) {
  const auto book =
      pack::read_mork(head + names + table + "[1(^83=Ann)] [1:^81(^B0=Friends)] [2:^81(^B0=$C3$84rzte)]}");
  EXPECT_THAT(book->lists, ElementsAre("Friends", "Ärzte"));
  EXPECT_EQ(book->cards.size(), 1U);
}

TEST(Mork, OtherFilesAreNone) {
  EXPECT_FALSE(pack::read_mork(""));
  EXPECT_FALSE(pack::read_mork("text\n" + head));
  EXPECT_FALSE(pack::read_mork(head + std::string(pack::longest_mork, ' ')));
  EXPECT_TRUE(pack::read_mork(head));
}

TEST(Mork, ValuesThatAreNamedOftenDoNotFillTheMemory) {
  std::string text = head + names + "<(90=" + std::string(1 << 20, 'x') + ")>" + table;
  for (int row = 0; row < 1000; ++row) text += "[" + std::to_string(row) + "(^83^90)]";
  const auto book = pack::read_mork(text + "}");
  std::size_t bytes = 0;
  for (const Card& card : book->cards)
    for (const auto& [name, value] : card) bytes += value.size();
  EXPECT_LE(bytes, std::size_t{16} << 20);
  EXPECT_FALSE(book->is_whole);
}

TEST(Mork, GroupsInGroupsDoNotFillTheStack) {
  std::string text = head + names;
  for (int depth = 0; depth < 100'000; ++depth) text += "@$${{@";
  EXPECT_TRUE(pack::read_mork(text + table + "[1(^83=Ann)]}@$$}1}@"));
}

TEST(Mork, BecomesAnAddressBook) {
  const windows::Disk disk;
  const std::string profile = "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x.default/";
  disk.add(profile + "abook.mab",
           head + names + table + "[1(^83=Ann)(^89=ann@a.example)] [1:^81(^B0=Friends)]}");
  disk.add(profile + "history.mab",
           head + names + table + "[1(^89=cid@c.example)] [2(^83=Ann)(^89=ann@a.example)]}");
  disk.add(profile + "impab.mab", head + names + table + "[1(^89=dan@d.example)]}{");
  disk.add(profile + "broken.mab", "text");
  disk.add(profile + "long.mab", head + std::string(pack::longest_mork, ' '));
  const auto result = recorded::pack_disk(disk.path());
  write_file("/tmp/book.db", result.content.at("Brindle/ImapMail/Contacts/addressbook.db"));
  EXPECT_EQ(output_of("db5.3_dump -p /tmp/book.db | grep -o 'INTERNET:[a-z@.]*' | sort"),
            "INTERNET:ann@a.example\nINTERNET:cid@c.example\nINTERNET:dan@d.example\n");
  EXPECT_THAT(result.remarks(),
              ElementsAre("no-place " + profile + "abook.mab: Friends", "damaged " + profile + "broken.mab",
                          "there-already " + profile + "history.mab", "cut-short " + profile + "impab.mab",
                          "too-long " + profile + "long.mab"));
}

}  // namespace

#include "pack/outlook/plain_text.h"

#include <gtest/gtest.h>

#include "pack/outlook/compressed_rtf.h"

namespace {

TEST(TextOfHtml, IsWhatOneReads) {
  EXPECT_EQ(pack::text_of_html("<html><head><title>none</title><style>p > a {}</style></head>\r\n"
                               "<body><p class=a>one   two<b> three</b></p><P>four<br/>five&nbsp;six</P>"
                               "<script>if (a<b) c();</script><table><tr><td>a</td><td>b</td></tr>"
                               "<tr><td>c</td></tr></table></body></html>\r\n"),
            "one two three\nfour\nfive six\na b\nc");
  EXPECT_EQ(pack::text_of_html("plain"), "plain");
  EXPECT_EQ(pack::text_of_html(""), "");
}

TEST(TextOfHtml, HasCharactersForTheirNames) {
  EXPECT_EQ(
      pack::text_of_html("&lt;a&gt; &amp;&AMP &#8364;&#x20AC;&euro; &auml; &nothing; &#xD800; &#0; & b &"),
      "<a> &&AMP \u20AC\u20AC\u20AC \u00E4 &nothing; &#xD800; &#0; & b &");
}

TEST(TextOfHtml, KeepsWhatIsNoTag) {
  EXPECT_EQ(pack::text_of_html("1 < 2 <3 a<!-- note > --><!DOCTYPE x>b"), "1 < 2 <3 ab");
  EXPECT_EQ(pack::text_of_html("a <!-- no end"), "a <!-- no end");
  EXPECT_EQ(pack::text_of_html("a <b no end"), "a <b no end");
  EXPECT_EQ(pack::text_of_html("a--> <!-- b"), "a--> <!-- b");
}

TEST(TextOfHtml, TakesNoSquareOfItsTime) {
  for (const char* piece : {"<!--", "<a", "<style>", "&"}) {
    std::string html;
    while (html.size() < 2000000) html += piece;
    EXPECT_LE(pack::text_of_html(html).size(), html.size()) << piece;
  }
}

TEST(TextInRtf, IsWhatOneReads) {
  EXPECT_EQ(
      pack::text_in_rtf("{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0 Arial;}}{\\colortbl;\\red0;}"
                        "{\\*\\generator none;}\\pard caf\\'e9\\~a\\tab b\\par\r\n\\u8364? \\ldblquote x"
                        "\\rdblquote\\par \\{c\\}{\\pict 00}{\\field{\\*\\fldinst none}{\\fldrslt d}}"
                        "\\cell e\\row f}"),
      "caf\u00E9 a\tb\n\u20AC \u201Cx\u201D\n{c}d\te\nf");
}

}  // namespace

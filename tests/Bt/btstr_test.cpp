#include "Bt/btstr.h"

#include <functional>
#include <istream>
#include <memory>
#include <utility>

#include "Bt/deathcases.h"
#include "Bt/piecesbuf.h"

namespace {

TEST(BtStr, EveryEditGivesItsTextAndLeavesTheSharedOneAlone) {
  using Edit = std::function<void(BtStr*)>;
  const std::tuple<const char*, const char*, Edit> cases[] = {
      {"a\xc3\xa4z{Z", "A\xc3\xa4Z{Z", [](BtStr* s) { s->upper(); }},
      {"[A`Z@]", "[a`z@]", [](BtStr* s) { s->lower(); }},
      {" \t\n ab \n", "ab \n", [](BtStr* s) { s->trimLeft(); }},
      {" \t\n ab", "\n ab", [](BtStr* s) { s->trimLeft(false); }},
      {" ab c\r\n \t", " ab c", [](BtStr* s) { s->trimRight(); }},
      {" \n ", "", [](BtStr* s) { s->trimRight(); }},
      {"  a \t\n b c ", " a b c ", [](BtStr* s) { s->squeeze(); }},
      {"    a\n\n      b\n  \n    c", "a\n\n  b\n\nc", [](BtStr* s) { s->unindent(); }},
      {"\t a\n\tb\n", " a\nb\n", [](BtStr* s) { s->unindent(); }},
      {"a\n  b", "a\n  b", [](BtStr* s) { s->unindent(); }},
      {"abcdef", "adef", [](BtStr* s) { s->remove(1, 2); }},
      {"abab.ab", ".", [](BtStr* s) { s->remove("ab"); }},
      {"aaaaa", "a", [](BtStr* s) { s->remove("aa"); }},
      {"abcdef", "aXYZef", [](BtStr* s) { s->replace(1, 3, "XYZ"); }},
      {"abcdef", "abcdef!", [](BtStr* s) { s->replace(6, 0, "!"); }},
      {"abcdef", "abcdefdef", [](BtStr* s) { s->replace(3, 0, *s + 3); }},
      {"a.b.c", "a::b.c", [](BtStr* s) { s->replace(".", "::"); }},
      {"a.b.c", "a::b::c", [](BtStr* s) { s->replaceAll(".", "::"); }},
      {"abc", "abc", [](BtStr* s) { s->replaceAll("", "x"); }},
      {"ab", "..ab", [](BtStr* s) { s->padLeft(4, '.'); }},
      {"ab", "ab..", [](BtStr* s) { s->padRight(4, '.'); }},
      {"abcde", "abcde", [](BtStr* s) { s->padLeft(4).padRight(4); }},
      {"abc", "ab", [](BtStr* s) { s->lengthTo(2); }},
      {"abc", "abc  ", [](BtStr* s) { s->lengthTo(5); }},
      {"ab", "abcd", [](BtStr* s) { s->catN("cdef", 2); }},
      {"ab", "abab", [](BtStr* s) { *s += *s; }},
      {"ab", "abb", [](BtStr* s) { s->append(s->view().substr(1)); }},
      {"ab", "aX", [](BtStr* s) { s->setChar(1, 'X'); }},
      {"abc", "bc", [](BtStr* s) { *s = s->notLeft(1); }},
      {"abc", "c", [](BtStr* s) { *s = s->right(1); }},
      {"abc", "ab", [](BtStr* s) { *s = s->notRight(1); }},
      {"abc", "b", [](BtStr* s) { *s = s->mid(1, 1); }},
      {"abc", "ac", [](BtStr* s) { *s = s->notMid(1, 1); }},
      {"abc", "", [](BtStr* s) { *s = s->left(0); }},
  };
  for (const auto& [text, expected, edit] : cases) {
    SCOPED_TRACE(text);
    const BtStr original(text);
    BtStr shared(original);
    edit(&shared);
    EXPECT_EQ(shared, expected);
    EXPECT_EQ(original, text);
    BtStr alone(text);
    edit(&alone);
    EXPECT_EQ(alone, expected);
    EXPECT_EQ(alone.length(), static_cast<int>(std::string(expected).size()));
  }
}

TEST(BtStr, NullIsNotEmpty) {
  BtStr null;
  const BtStr empty("");
  EXPECT_TRUE(null.isNull());
  EXPECT_FALSE(empty.isNull());
  EXPECT_NE(null, empty);
  EXPECT_LT(null, empty);
  EXPECT_EQ(null.cmp(nullptr), 0);
  EXPECT_GT(empty.cmp(nullptr), 0);
  EXPECT_EQ(null.textDup(), nullptr);
  EXPECT_TRUE(BtStr(null).upper().trimLeft().trimRight().squeeze().unindent().isNull());
  BtStr made_null(std::move(null));
  made_null = empty;
  EXPECT_EQ(made_null, "");
  made_null = static_cast<const char*>(nullptr);
  EXPECT_TRUE(made_null.isNull());
  EXPECT_EQ(made_null += "x", "x");
  const std::unique_ptr<char[]> copy(made_null.textDup());
  EXPECT_STREQ(copy.get(), "x");
}

TEST(BtStr, ComparesAndSearches) {
  EXPECT_LT(BtStr("abc"), "abd");
  EXPECT_LT(BtStr("z"), BtStr("\xc3\xa4"));  // bytes are unsigned
  EXPECT_LT(BtStr("ab"), BtStr("abc"));
  EXPECT_EQ(BtStr("aBc").iCmp("AbC"), 0);
  EXPECT_NE(BtStr("aBc").iCmp("AbCd"), 0);
  EXPECT_EQ(BtStr("aBcX").iNCmp("AbCy", 3), 0);
  EXPECT_NE(BtStr("aBcX").iNCmp("AbCy", 4), 0);
  int pos = -1;
  EXPECT_TRUE(BtStr("a/b/c").findNth('/', 2, &pos));
  EXPECT_EQ(pos, 3);
  EXPECT_FALSE(BtStr("a/b/c").findNth('/', 3, &pos));
}

TEST(BtStr, NumbersMustBeTheWholeText) {
  constexpr double kNone = -12345;  // refused
  const std::tuple<const char*, double, double, double> cases[] = {
      {"12", 12, 12, 18},
      {" -12", -12, -12, -18},
      {"12 ", kNone, kNone, kNone},
      {"", kNone, kNone, kNone},
      {"-", kNone, kNone, kNone},
      {"1.5e3", 1500, kNone, kNone},
      {".5", 0.5, kNone, kNone},
      {"1.5x", kNone, kNone, kNone},
      {"nan", kNone, kNone, kNone},
      {"0x1F", 31, kNone, 31},
      {"ff", kNone, kNone, 255},
      {"2147483647", 2147483647.0, 2147483647, kNone},
      {"2147483648", 2147483648.0, kNone, kNone},
      {"99999999999999999999", 1e20, kNone, kNone},
  };
  for (const auto& [text, as_double, as_int, as_hex] : cases) {
    SCOPED_TRACE(text);
    const BtStr str(text);
    double real = 0;
    int number = 0;
    EXPECT_EQ(str.doubleValue(&real) ? real : kNone, as_double);
    EXPECT_EQ(str.intValue(&number) ? number : kNone, as_int);
    EXPECT_EQ(str.hexValue(&number) ? number : kNone, as_hex);
  }
  float as_float = 0;
  EXPECT_TRUE(BtStr("3.40282347e+38").floatValue(&as_float));
  EXPECT_FALSE(BtStr("3.4028236e38").floatValue(&as_float));
  EXPECT_FALSE(BtStr("-nan").floatValue(&as_float));
  long as_long = 0;
  EXPECT_FALSE(BtStr("9223372036854775808").longValue(&as_long));
  EXPECT_TRUE(BtStr("-9223372036854775808").longValue(&as_long));
}

TEST(BtStr, TruthValues) {
  const auto value_of = [](const char* text) {
    bool value = false;
    return !BtStr(text).boolValue(&value) ? '?' : value ? 't' : 'f';
  };
  for (const char* text : {"1", "true", "On", "YES"}) EXPECT_EQ(value_of(text), 't') << text;
  for (const char* text : {"0", "False", "oFF", "no"}) EXPECT_EQ(value_of(text), 'f') << text;
  for (const char* text : {"", "2", "y", "TRUE ", "yess"}) EXPECT_EQ(value_of(text), '?') << text;
}

TEST(BtStr, ScansLines) {
  for (const std::size_t step : {0U, 3U, 100U}) {
    PiecesBuf buf("first\n\n  third\nlast", 0, step);
    std::istream is(&buf);
    BtStr line;
    for (const char* expected : {"first", "", "  third", "last"}) {
      ASSERT_TRUE(is.good());
      line.scanLine(is);
      EXPECT_EQ(line, expected);
    }
    EXPECT_EQ(is.rdstate(), std::ios::eofbit);
    line.scanLine(is);
    EXPECT_TRUE(line.isNull());
    EXPECT_TRUE(is.eof() && is.fail());
  }
  // Null is for the end alone.
  std::istringstream failed("text");
  failed.setstate(std::ios::failbit);
  BtStr line("before");
  line.scanLine(failed);
  EXPECT_EQ(line, "");
}

// Short and long texts are kept in different places.
TEST(BtStr, GrowsFromShortToLongAndBack) {
  BtStr text("a");
  std::string expected("a");
  for (const std::string_view piece : {"bcdefghij", "klmnopqrs", "t", "u", "v", "wxyz0123456789"}) {
    text.append(piece);
    expected += piece;
    EXPECT_EQ(text.view(), expected);
  }
  text = text.left(20);
  text += text;
  EXPECT_EQ(text.view(), expected.substr(0, 20) + expected.substr(0, 20));
  text.lengthTo(3);
  EXPECT_EQ(text.view(), "abc");
}

TEST(BtStr, FormatsAnyLength) {
  for (const std::size_t length : {0U, 511U, 512U, 100000U}) {
    const std::string text(length, 'x');
    EXPECT_EQ(BtFormat("%s", text.c_str()).view(), text);
  }
  EXPECT_EQ(BtFormat("%d %c", 7, 'x') + "!" + BtStr("?"), "7 x!?");
}

TEST(BtCharBuf, TrimsCopiesAndFinds) {
  char text[8] = " \t ab \n";
  EXPECT_STREQ(BtStrRTrim(BtStrLTrim(text)), "ab");
  EXPECT_STREQ(BtStrCat(text, "cdefg", 8), "abcdefg");
  EXPECT_STREQ(BtStrNCpy(text, "wxyz", 3, 4), "wxy");
  EXPECT_STREQ(BtStrFindLast("a.b.cd", "."), ".cd");
  EXPECT_EQ(BtStrFindLast("abc", "."), nullptr);
}

TEST(BtStrDeathTest, MisuseIsAnAssertion) {
  ExpectAssertions({
      {"len >= 0", [] { BtStr("abc", -1); }},
      {"i<length()", [] { (void)BtStr("abc")[3]; }},
      {"c!='\\0'", [] { BtStr("abc").setChar(0, '\0'); }},
      {"i+n<=length()", [] { BtStr("abc").remove(2, 2147483647); }},
      {"i+n<=this->length()", [] { BtStr("abc").replace(2, 2, ""); }},
      {"n <= SizeTToInt(strlen(text))", [] { BtStr("abc").catN("x", 2); }},
      {"n<=this->length()", [] { (void)BtStr("abc").left(4); }},
      {"this->length()>=n", [] { (void)BtStr("abc").notLeft(4); }},
      {"this->length()>=i+n", [] { (void)BtStr("abc").mid(1, 3); }},
      {"!s2.isNull()", [] { BtStr("abc").replaceAll("a", BtStr()); }},
      {"!str.isNull()", [] { BtStr("abc") += BtStr(); }},
      {"!_holds(text)",
       [] {
         BtStr text("abc");
         text = static_cast<const char*>(text) + 1;
       }},
      {"SizeTToInt(strlen(src))<size",
       [] {
         char text[3];
         BtStrCpy(text, "abc", 3);
       }},
      {"size<=INT_MAX", [] { SizeTToInt(std::size_t{1} << 31); }},
  });
}

}  // namespace

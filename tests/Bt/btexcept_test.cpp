#include "Bt/btexcept.h"

#include "Bt/deathcases.h"
#include "support/printed.h"

namespace {

std::string X(std::size_t count) { return std::string(count, 'x'); }

std::string Printed(const BtExcept& exception) {
  BtStr text("older");
  BtGetExceptionStr(&text, exception);
  return std::string(text.view());
}

TEST(BtExcept, WrapsAtSeventyColumnsOfTheMessage) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {X(70), X(70)},
      {X(70) + " a", X(70) + "|a"},
      {X(60) + " " + X(9) + " a", X(60) + " " + X(9) + "|a"},
      {X(60) + " " + X(10) + " a", X(60) + "|" + X(10) + " a"},
      {"a " + X(100) + " b", "a|" + X(100) + "|b"},
      {X(100), X(100)},
      {X(69) + "  b", X(69) + " |b"},
      {X(70) + "  b", X(70) + "| b"},
      // A blank at the start of a line is no place to break it.
      {" " + X(100) + " b", " " + X(100) + "|b"},
      // Two breaks in one message, the second counted from the start of its line.
      {X(40) + " " + X(40) + " " + X(29) + " c", X(40) + "|" + X(40) + " " + X(29) + "|c"},
      // Newlines end lines wherever they stand.
      {"a\nb", "a|b"},
      {"a\n\nb\n", "a||b|"},
      {X(70) + "\na", X(70) + "|a"},
      {X(65) + " b\n" + X(65) + " c", X(65) + " b|" + X(65) + " c"},
      // A tab goes to the next multiple of eight columns.
      {"\ta\t" + X(54) + " b", "\ta\t" + X(54) + "|b"},
      {"\ta\t" + X(55) + " b", "\ta|" + X(55) + " b"},
      {X(65) + "\tb", X(65) + "|b"},
      // A letter takes one column, however many bytes it has.
      {X(68) + "\xc3\xa4\xc3\xa4 b", X(68) + "\xc3\xa4\xc3\xa4|b"},
  };
  for (const auto& [message, lines] : cases) {
    EXPECT_EQ(Printed(BtExcept(false, message.c_str(), nullptr)), PrintedError(lines)) << message;
    EXPECT_EQ(Printed(BtExcept(true, message.c_str(), nullptr)), PrintedWarning(lines)) << message;
  }
}

TEST(BtExcept, ReportsTheChainOnceAndTellsErrorsFromWarnings) {
  EXPECT_FALSE(BtReportError());
  theExceptObj.setAsWarning("deep");
  theExceptObj.setAsWarning(BtStr("on %s"));  // a plain text, no format
  EXPECT_FALSE(BtError());
  testing::internal::CaptureStderr();
  EXPECT_FALSE(BtReportError());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), PrintedWarning("on %s|deep"));

  BtWarn(BtCode("early"), "before");
  EXPECT_FALSE(BtFail(BtCode("cause"), "inner %d", 1));
  EXPECT_FALSE(BtFail("outer\n%s", "two"));
  EXPECT_TRUE(BtError());
  // Each record has its own code, of which nothing is printed.
  EXPECT_EQ(theExceptObj.exception().code(), nullptr);
  EXPECT_STREQ(theExceptObj.exception().detail().code(), "cause");
  EXPECT_STREQ(theExceptObj.exception().detail().detail().code(), "early");
  testing::internal::CaptureStderr();
  EXPECT_TRUE(BtReportError());
  EXPECT_FALSE(BtReportError());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), PrintedError("outer|two|inner 1|before"));
}

TEST(BtExcept, LongChainsArePrintedAndFreed) {
  constexpr std::size_t kCount = 500000;
  const BtStr message("Degenerate polygon.");
  for (std::size_t i = 0; i < kCount; ++i) theExceptObj.setAsWarning(message);
  const std::size_t line_size = std::string("WARNING: Degenerate polygon.\n").size();
  EXPECT_EQ(Printed(theExceptObj.exception()).size(), kCount * line_size + 3);
  theExceptObj.clear();
  EXPECT_FALSE(theExceptObj.hasException());
}

TEST(BtExcept, CancelIsAnError) {
  static bool asked_to_stop = false;
  EXPECT_FALSE(theExceptObj.checkCancel());
  theExceptObj.setCancelHook([] { return asked_to_stop; });
  EXPECT_FALSE(theExceptObj.checkCancel());
  asked_to_stop = true;
  EXPECT_TRUE(theExceptObj.checkCancel());
  EXPECT_EQ(theExceptObj.exception().message(), "Canceled.");
  theExceptObj.setCancelHook(nullptr);
  theExceptObj.clear();
}

TEST(BtExceptDeathTest, MisuseIsAnAssertion) {
  static const BtExcept alone(false, "text", nullptr);
  ExpectAssertions({
      {"!message.isNull()", [] { theExceptObj.set(BtStr()); }},
      {"this->hasDetail()", [] { (void)alone.detail(); }},
      {"_exception", [] { (void)theExceptObj.exception(); }},
      {"str", [] { BtGetExceptionStr(nullptr, alone); }},
      {"!_abort_on_clear",
       [] {
         BtExceptionHandler::setAbortOnClear(true);
         theExceptObj.set("unread");
         theExceptObj.clear();
       }},
  });
  ExpectDeaths({
      {": BtExcept::BtExcept(bool, const BtStr", [] { theExceptObj.set(BtStr()); }},
      {"\n\nERROR: held\n\nlibs/src/Bt/btexcept.cpp",
       [] {
         theExceptObj.set("held");
         theExceptObj.setAsWarning("lost");
       }},
      {"",
       [] {
         BtExceptionHandler::setAbortOnError(true);
         theExceptObj.set("fatal");
       }},
  });
}

}  // namespace

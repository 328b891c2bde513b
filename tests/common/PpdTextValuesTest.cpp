// The rules of the free-text PPD values: what the service accepts (what a
// job-log field keeps of typed text is tested through the job-log model).
#include <gtest/gtest.h>

#include "PpdTextValues.h"

namespace {

// The refusal texts, quotes, control characters and the 255-byte limit are
// pinned through the PPD service's edit check; here the edges of each rule.
TEST(PpdTextValues, EachKeywordKeepsToItsRule) {
  const std::string a63(63, 'a'), b63(63, 'b'), c63(63, 'c');
  const struct {
    const char* keyword;
    std::string refusal;  // after "the value of KEYWORD "
    std::vector<std::string> accepted, refused;
  } rules[] = {
      {"FileName",
       "is not a plain file name of at most 32 letters, digits, '.', '_' or '-'",
       {"", "VKTS3_log-2026.txt", "Aa0zZ9", std::string(32, 'a'), "..."},
       {std::string(33, 'a'), "../x", "logs/x", ".", "..", "Card log", "caf\xC3\xA9"}},
      {"Separator", "is not one printable character", {"", " ", "~"}, {",,", "\xC3\xA9"}},
      {"PrinterIPAddress",
       "is not an IPv4 address or host name",
       {"192.168.1.20", "card-7.example.org", "printer", a63 + ".org",
        a63 + "." + b63 + "." + c63 + "." + a63.substr(2)},
       {"", "-card", "card-", "card..org", a63 + "a.org", a63 + "." + b63 + "." + c63 + "." + a63.substr(1), "fe80::1",
        "10.0.0.1 x"}},
      {"PrinterSerialNo", "holds more than letters, digits and '-'", {"", "VKT-0000123"}, {"VKT 0000123", "VKT_1"}},
      {"Other", "", {"any text: at all / .."}, {}},  // no rule of its own
  };
  for (const auto& rule : rules) {
    for (const std::string& value : rule.accepted)
      EXPECT_EQ(ppd_text_values::Problem(rule.keyword, value), std::nullopt) << value;
    for (const std::string& value : rule.refused)
      EXPECT_EQ(ppd_text_values::Problem(rule.keyword, value),
                "the value of " + std::string(rule.keyword) + " " + rule.refusal)
          << value;
  }
  // What a field keeps of typed text under these rules is pinned through the
  // job-log fields; a keyword without a rule keeps all of it.
  EXPECT_EQ(ppd_text_values::Typed("Other", "left \"as\" is"), "left \"as\" is");
}

}  // namespace

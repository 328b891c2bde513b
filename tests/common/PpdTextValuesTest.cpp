// The rules of the free-text PPD values: what the service accepts, and what
// a job-log field keeps of typed text under the same rule.
#include <gtest/gtest.h>

#include "PpdTextValues.h"

namespace {

TEST(PpdTextValues, EachKeywordKeepsToItsRule) {
  const std::string fileName =
      "the value of FileName is not a plain file name of at most 32 letters, digits, '.', '_' or '-'";
  const std::string address = "the value of PrinterIPAddress is not an IPv4 address or host name";
  const std::string serial = "the value of PrinterSerialNo holds more than letters, digits and '-'";
  const std::string separator = "the value of Separator is not one printable character";
  const std::string staticText = "the value of StaticText is longer than 16 characters";
  const struct {
    const char* keyword;
    std::string value;
    std::optional<std::string> problem;
  } cases[] = {
      {"FileName", "", std::nullopt},
      {"FileName", "VKTS3_log-2026.txt", std::nullopt},
      {"FileName", "zZ9", std::nullopt},
      {"FileName", std::string(32, 'a'), std::nullopt},
      {"FileName", std::string(33, 'a'), fileName},
      {"FileName", "../x", fileName},
      {"FileName", "logs/x", fileName},
      {"FileName", ".", fileName},
      {"FileName", "..", fileName},
      {"FileName", "...", std::nullopt},
      {"FileName", "Card log", fileName},
      {"FileName", "caf\xC3\xA9", fileName},
      {"Separator", "", std::nullopt},
      {"Separator", " ", std::nullopt},
      {"Separator", "~", std::nullopt},
      {"Separator", ",,", separator},
      {"Separator", "\xC3\xA9", separator},
      {"Separator", "\"", "the value of Separator holds a quote or a control character"},
      {"StaticText", "", std::nullopt},
      {"StaticText", std::string(16, 'x'), std::nullopt},
      {"StaticText", std::string(17, 'x'), staticText},
      {"StaticText", "\xC3\xA9t\xC3\xA9 " + std::string(12, 'x'), std::nullopt},  // 16 characters, 18 bytes
      {"StaticText", "a\tb", "the value of StaticText holds a quote or a control character"},
      {"PrinterIPAddress", "192.168.1.20", std::nullopt},
      {"PrinterIPAddress", "card-7.example.org", std::nullopt},
      {"PrinterIPAddress", "printer", std::nullopt},
      {"PrinterIPAddress", "", address},
      {"PrinterIPAddress", "-card", address},
      {"PrinterIPAddress", "card-", address},
      {"PrinterIPAddress", "card..org", address},
      {"PrinterIPAddress", std::string(63, 'a') + ".org", std::nullopt},
      {"PrinterIPAddress", std::string(64, 'a') + ".org", address},
      {"PrinterIPAddress",
       std::string(63, 'a') + "." + std::string(63, 'b') + "." + std::string(63, 'c') + "." + std::string(61, 'd'),
       std::nullopt},  // 253
      {"PrinterIPAddress",
       std::string(63, 'a') + "." + std::string(63, 'b') + "." + std::string(63, 'c') + "." + std::string(62, 'd'),
       address},  // 254
      {"PrinterIPAddress", "fe80::1", address},
      {"PrinterIPAddress", "10.0.0.1 x", address},
      {"PrinterSerialNo", "", std::nullopt},
      {"PrinterSerialNo", "VKT-0000123", std::nullopt},
      {"PrinterSerialNo", "VKT 0000123", serial},
      {"PrinterSerialNo", "VKT_1", serial},
      {"PrinterSerialNo", std::string(256, '1'), "the value of PrinterSerialNo is longer than 255 bytes"},
      // A keyword without a rule of its own: quotes, control bytes and length only.
      {"Other", "any text: at all / ..", std::nullopt},
      {"Other", "a\"b", "the value of Other holds a quote or a control character"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.keyword) + " \"" + c.value + "\"");
    EXPECT_EQ(ppd_text_values::Problem(c.keyword, c.value), c.problem);
  }
}

TEST(PpdTextValues, AFieldKeepsWhatItsRuleAllowsUpToItsLength) {
  const struct {
    const char* keyword;
    std::string typed, kept;
  } cases[] = {
      {"FileName", "my cards/log\".txt", "mycardslog.txt"},
      {"FileName", std::string(40, 'f'), std::string(32, 'f')},
      {"FileName", "caf\xC3\xA9-1", "caf-1"},
      {"Separator", ";,", ";"},
      {"Separator", "\xC3\xA9\t\",", ","},
      {"StaticText", "\xC3\xA9t\xC3\xA9" + std::string(20, 'x'), "\xC3\xA9t\xC3\xA9" + std::string(13, 'x')},
      {"StaticText",
       "a\"b\x01"
       "c",
       "abc"},
      {"Other", "left \"as\" is", "left \"as\" is"},
  };
  for (const auto& c : cases) EXPECT_EQ(ppd_text_values::Typed(c.keyword, c.typed), c.kept) << c.typed;
}

}  // namespace

// The content rule: which edits of an installed PPD the service accepts.
#include <regex>

#include "PpdEditCheck.h"
#include "ServiceTestSupport.h"

using service_test::ReplaceOnce;

namespace {

TEST(PpdEditCheck, EditsOfTheFixtureAreAcceptedOrRefusedWithTheirReason) {
  const std::string installed = service_test::FixturePpd();
  const std::string filter = "*cupsFilter2: \"application/pdf application/vnd.cups-raw 0 -\"";
  const std::string kFileNameRule =
      "the value of FileName is not a plain file name of at most 32 letters, digits, '.', '_' or '-'";
  const struct {
    std::string from, to;
    std::string reason;
  } cases[] = {
      {"PrinterSerialNo: S32-000123", "PrinterSerialNo: ", "accepted"},
      {"FrontX: 0", "FrontX: -2147483648", "accepted"},
      {"FrontX: 0", "FrontX: -", "line 125: the value of FrontX is not a number"},
      {"FrontX: 0", "FrontX: 12345678901", "line 125: the value of FrontX is not a number"},
      {"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 3Text", "accepted"},
      {"*FileName:VKTS3.log", "*FileName:Cards_2026-11.log", "accepted"},
      {"StaticText:Orvex", "StaticText:Badge office \xC3\xA9t\xC3\xA9", "accepted"},
      {"PrinterIPAddress: 192.168.1.20", "PrinterIPAddress: card-7.example.org", "accepted"},
      // The driver writes its log to the file name, acts on the address:
      // each text keeps to the rule of its field.
      {"*FileName:VKTS3.log", "*FileName:../../../../etc/cron.d/x", "line 142: " + kFileNameRule},
      {"*FileName:VKTS3.log", "*FileName:..", "line 142: " + kFileNameRule},
      {"Separator:,", "Separator:;;", "line 141: the value of Separator is not one printable character"},
      {"StaticText:Orvex", "StaticText:Badge office \xC3\xA9t\xC3\xA9!",
       "line 143: the value of StaticText is longer than 16 characters"},
      {"PrinterIPAddress: 192.168.1.20", "PrinterIPAddress: 10.0.0.1;reboot",
       "line 123: the value of PrinterIPAddress is not an IPv4 address or host name"},
      {"PrinterSerialNo: S32-000123", "PrinterSerialNo: S32/../x",
       "line 124: the value of PrinterSerialNo holds more than letters, digits and '-'"},
      // Added or removed lines.
      {"*FrontX: 0\n", "*FrontX: 0\n*cupsFilter2: \"application/pdf application/vnd.cups-raw 0 /tmp/x\"\n",
       "the edited PPD has 146 lines, the installed one 145"},
      // An editable line may not become another keyword.
      {"*StaticText:Orvex", "*cupsFilter2: \"application/pdf application/pdf 0 /tmp/x\"",
       "line 143: the keyword of this line may not change"},
      // Other lines may not change.
      {filter, "*cupsFilter2: \"application/pdf application/vnd.cups-raw 0 /tmp/evil\"",
       "line 18: this line may not change"},
      {"*VKTS32Rotation 3Both/3Both: \"\"", "*VKTS32Rotation 4Evil/Evil: \"\"",
       "line 120: the keyword of this line may not change"},
      {"*DefaultPageSize: CR80", "*DefaultPageSize: A4", "line 22: this line may not change"},
      // A default must be one of the option's own choices.
      {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: ", "line 116: VKTS32Rotation has no choice \"\""},
      {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation:1Front",
       "line 116: the default line of VKTS32Rotation is malformed"},
      // Values with quotes or control characters, numbers, lengths.
      {"*StaticText:Orvex", "*StaticText:Orvex\" *cupsFilter2: \"x",
       "line 143: the value of StaticText holds a quote or a control character"},
      {"*FileName:VKTS3.log", std::string("*FileName:a\0b", 13),
       "line 142: the value of FileName holds a quote or a control character"},
      {"EnableLog: 0", "EnableLog:1", "line 130: the value of EnableLog is not a number"},
      {"StaticText:Orvex", "StaticText:" + std::string(256, 'x'),
       "line 143: the value of StaticText is longer than 255 bytes"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.to);
    EXPECT_EQ(PpdEditCheck::FindForbiddenChange(installed, ReplaceOnce(installed, c.from, c.to)).value_or("accepted"),
              c.reason);
  }
  // Every number line the tool writes may change, all at once.
  const size_t numbers = installed.find("*FrontX: 0");
  const std::string all = std::regex_replace(installed.substr(numbers), std::regex("(\\*\\w+): -?\\d+\n"), "$1: 7\n");
  EXPECT_EQ(PpdEditCheck::FindForbiddenChange(installed, installed.substr(0, numbers) + all), std::nullopt) << all;
  EXPECT_TRUE(PpdEditCheck::FindForbiddenChange(installed, installed.substr(0, installed.size() - 1)));
}

TEST(PpdEditCheck, CarriageReturnLineEndsStayAndChoicesAreFoundInBlocksOnly) {
  const std::string installed =
      "*PPD-Adobe: \"4.3\"\r\n*OpenUI *Rotation/Rotation: PickOne\r\n*DefaultRotation: 0None\r\n"
      "*Rotation 0None/None: \"\"\r\n*Rotation 1Front/Front: \"\"\r\n*CloseUI: *Rotation\r\n"
      "*Rotation 9Outside/Outside: \"\"\r\n*FrontX: 0\r\n";
  auto check = [&](const std::string& from, const std::string& to) {
    return PpdEditCheck::FindForbiddenChange(installed, ReplaceOnce(installed, from, to));
  };
  EXPECT_EQ(check("Rotation: 0None\r", "Rotation: 1Front\r"), std::nullopt);
  EXPECT_EQ(check("FrontX: 0\r", "FrontX: 5\r"), std::nullopt);
  EXPECT_TRUE(check("FrontX: 0\r", "FrontX: 5"));
  EXPECT_TRUE(check("Rotation: 0None\r", "Rotation: 9Outside\r"));
}

}  // namespace

// The PC file names that mark the PPD of a card printer this tool serves, in
// the driver's model order (index 0 is the Series 3 two-sided printer). A
// queue whose PPD names another file is not one of ours: the chooser leaves
// it out and the PPD service refuses to write its PPD.
#pragma once

#include <array>
#include <string_view>

namespace card_models {

constexpr std::array<std::string_view, 4> kPcFileNames = {"VKTS32.PPD", "VKTS31.PPD", "VKTS1.PPD", "VKTS32C.PPD"};

// The model index of a PC file name, or -1. The names are compared exactly:
// the driver's PPDs spell them in capitals.
inline int ModelOfPcFileName(std::string_view name) {
  for (size_t i = 0; i < kPcFileNames.size(); ++i)
    if (kPcFileNames[i] == name) return static_cast<int>(i);
  return -1;
}

}  // namespace card_models

// SPDX-License-Identifier: GPL-3.0-or-later
// Ids of the forms that only tests have.
#pragma once

#include <cstdint>

namespace quillet {

// A control of every kind.
constexpr std::uint32_t kDialogEveryKind = 9001;
constexpr std::uint32_t kControlLabel = 9101;
constexpr std::uint32_t kControlEdit = 9102;
constexpr std::uint32_t kControlPassword = 9103;
constexpr std::uint32_t kControlLines = 9104;
constexpr std::uint32_t kControlCheckBox = 9105;
constexpr std::uint32_t kControlLeft = 9106;
constexpr std::uint32_t kControlRight = 9107;
constexpr std::uint32_t kControlDropDown = 9108;
constexpr std::uint32_t kControlEditableDropDown = 9109;
constexpr std::uint32_t kControlSlider = 9110;
constexpr std::uint32_t kControlBar = 9111;
constexpr std::uint32_t kControlCheckList = 9112;
constexpr std::uint32_t kControlList = 9113;
constexpr std::uint32_t kControlTime = 9114;
constexpr std::uint32_t kControlButton = 9115;
constexpr std::uint32_t kControlTapList = 9116;

// Pages of a sheet.
constexpr std::uint32_t kDialogFirstPage = 9002;
constexpr std::uint32_t kDialogSecondPage = 9003;
constexpr std::uint32_t kControlPageEdit = 9201;
constexpr std::uint32_t kControlPageBox = 9202;

}  // namespace quillet

// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/unit_files.h"

#include <cstdint>
#include <cstdio>

#include "port/scheduler.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::string_view kBaseName = "quillet-download";

// 32-bit FNV-1a: short, and the same on every run.
std::uint32_t Hash(std::string_view text) {
  std::uint32_t hash = 2166136261U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return hash;
}

std::string TimeOfDay(const CalendarTime& at) {
  char text[48];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", at.hour, at.minute, at.second);
  return text;
}

std::string Date(const CalendarTime& at) {
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", at.year, at.month, at.day);
  return text;
}

}  // namespace

std::string UnitName(const Profile& profile) {
  if (profile.name.empty()) return std::string(kBaseName);
  char suffix[16];
  std::snprintf(suffix, sizeof suffix, "-%08x", static_cast<unsigned>(Hash(profile.name)));
  return std::string(kBaseName) + suffix;
}

std::string QuoteForUnit(std::string_view word, CommandWord kind) {
  std::string quoted = "\"";
  for (const char c : word) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(byte));
      quoted += code;
      continue;
    }
    if (c == '\\' || c == '"') quoted += '\\';
    if (c == '%' || (c == '$' && kind == CommandWord::kArgument)) quoted += c;
    quoted += c;
  }
  return quoted + "\"";
}

namespace {

// systemd refuses a program whose path holds quotes, backslashes or control characters, however
// they are written; such a one is started by another program, as its argument.
std::string ProgramWords(std::string_view executable) {
  for (const char c : executable) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || c == '"' || c == '\'' || c == '\\') {
      return "/usr/bin/env " + QuoteForUnit(executable, CommandWord::kArgument);
    }
  }
  return QuoteForUnit(executable, CommandWord::kProgram);
}

}  // namespace

std::string ServiceUnit(const Profile& profile, std::string_view executable) {
  std::string command = ProgramWords(executable);
  if (!profile.name.empty()) {
    command += " --profile " + QuoteForUnit(profile.name, CommandWord::kArgument);
  }
  std::string text =
      "[Unit]\n"
      "Description=Scheduled download of Quillet CE\n"
      "Wants=graphical-session.target\n"
      "After=graphical-session.target\n"
      "\n"
      "[Service]\n"
      "Type=simple\n";
  text += "ExecStart=" + command + " " + ToUtf8(kScheduledCommandLine) + "\n";
  // What the user opened from an article goes on when the program ends.
  text += "KillMode=process\n";
  return text;
}

std::string TimerUnit(const std::string& unit_name, const CalendarTime& at) {
  std::string text =
      "[Unit]\n"
      "Description=Scheduled download of Quillet CE\n"
      "\n"
      "[Timer]\n";
  text += "OnCalendar=" + Date(at) + " " + TimeOfDay(at) + "\n";
  text += "OnCalendar=*-*-* " + TimeOfDay(at) + "\n";
  text += "AccuracySec=1s\n";
  text += "Unit=" + unit_name + ".service\n";
  text +=
      "\n"
      "[Install]\n"
      "WantedBy=timers.target\n";
  return text;
}

}  // namespace quillet::port

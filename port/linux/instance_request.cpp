// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/instance_request.h"

#include <charconv>

#include "util/news_link.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::string_view kRaise = "raise";
constexpr std::string_view kRaiseAndDownload = "raise+download";
constexpr std::string_view kLink = "link";

// Takes the word and a blank off the front; false for another word.
bool TakeWord(std::string_view& line, std::string_view word) {
  if (!line.starts_with(word) || !line.substr(word.size()).starts_with(' ')) return false;
  line.remove_prefix(word.size() + 1);
  return true;
}

// The same for so many bytes.
bool TakeBytes(std::string_view& line, std::size_t count, std::string& taken) {
  if (count >= line.size() || line[count] != ' ') return false;
  taken = line.substr(0, count);
  line.remove_prefix(count + 1);
  return true;
}

bool TakeNumber(std::string_view& line, std::size_t& number) {
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
  if (error != std::errc()) return false;
  const std::string_view digits = line.substr(0, static_cast<std::size_t>(end - line.data()));
  return TakeWord(line, digits);
}

std::optional<InstanceRequest> ParseLink(std::string_view rest) {
  InstanceRequest request;
  std::size_t size = 0;
  if (!TakeNumber(rest, size) || !TakeBytes(rest, size, request.token)) return std::nullopt;
  if (!IsNewsLink(rest)) return std::nullopt;
  request.link = FromUtf8(rest);
  return request;
}

}  // namespace

std::vector<std::string> LinesOf(const InstanceRequest& request) {
  if (request.download) return {std::string(kRaiseAndDownload)};
  std::vector<std::string> lines;
  if (!request.link.empty()) {
    lines.push_back(std::string(kLink) + " " + std::to_string(request.token.size()) + " " +
                    request.token + " " + ToUtf8(request.link));
  }
  if (!request.token.empty()) lines.push_back(std::string(kRaise) + " " + request.token);
  lines.emplace_back(kRaise);
  return lines;
}

std::optional<InstanceRequest> ParseInstanceRequest(std::string_view line) {
  if (HasControlCharacter(line)) return std::nullopt;
  if (line == kRaise) return InstanceRequest{};
  if (line == kRaiseAndDownload) return InstanceRequest{.download = true};
  if (TakeWord(line, kRaise)) return InstanceRequest{.token = std::string(line)};
  return TakeWord(line, kLink) ? ParseLink(line) : std::nullopt;
}

}  // namespace quillet::port

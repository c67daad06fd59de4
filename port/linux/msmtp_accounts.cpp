// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/msmtp_accounts.h"

#include <algorithm>
#include <utility>

#include "util/blanks.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::size_t kMostAccounts = 200;

std::string_view Unquoted(std::string_view text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    return text.substr(1, text.size() - 2);
  }
  return text;
}

// One that can be shown, stored as a key's name and given as an argument.
bool IsUsableName(std::string_view name) {
  return !name.empty() && name.size() <= 100 && name.front() != '-' && !HasControlCharacter(name) &&
         name.find_first_of("\\,:") == name.npos;
}

bool IsPlainAddress(std::string_view address) {
  return !HasControlCharacter(address) && address.find('@') != address.npos &&
         address.find_first_of("*?[%$ <>") == address.npos && address.front() != '-';
}

struct Section {
  MsmtpAccount account;
  std::string base;      // "" without one
  bool has_own = false;  // a setting of its own
  bool is_defaults = true;
};

void BeginAccount(std::string_view value, const MsmtpAccount& defaults,
                  const std::vector<Section>& sections, Section& section) {
  const std::size_t colon = value.find(':');
  section = {
      {std::string(Unquoted(Trimmed(value.substr(0, colon)))), defaults.from}, {}, false, false};
  if (colon == value.npos) return;
  std::string_view bases = value.substr(colon + 1);
  while (!bases.empty()) {
    const std::size_t end = std::min(bases.find(','), bases.size());
    section.base = Unquoted(Trimmed(bases.substr(0, end)));
    for (const Section& earlier : sections) {
      if (earlier.account.name == section.base && !earlier.account.from.empty()) {
        section.account.from = earlier.account.from;
      }
    }
    bases.remove_prefix(std::min(end + 1, bases.size()));
  }
}

std::vector<MsmtpAccount> Usable(const std::vector<Section>& sections) {
  std::vector<MsmtpAccount> accounts;
  for (const Section& section : sections) {
    const bool alias = section.account.name == "default" && !section.base.empty() &&
                       section.base.find(',') == std::string::npos && !section.has_own;
    if (alias || !IsUsableName(section.account.name)) continue;
    const bool known = std::ranges::any_of(accounts, [&](const MsmtpAccount& account) {
      return account.name == section.account.name;
    });
    if (!known && accounts.size() < kMostAccounts) accounts.push_back(section.account);
  }
  return accounts;
}

}  // namespace

std::vector<MsmtpAccount> ReadMsmtpAccounts(std::string_view text) {
  std::vector<Section> sections;
  MsmtpAccount defaults;
  Section current;
  const auto finish = [&] {
    if (current.is_defaults) {
      defaults = current.account;
    } else if (sections.size() < kMostAccounts) {
      sections.push_back(current);
    }
  };
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = Trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty() || line.front() == '#') continue;
    const std::size_t blank = std::min(line.find_first_of(" \t"), line.size());
    const std::string_view command = line.substr(0, blank);
    const std::string_view value = Trimmed(line.substr(blank));
    if (command == "account") {
      finish();
      BeginAccount(value, defaults, sections, current);
    } else if (command == "defaults") {
      finish();
      current = {};
    } else {
      current.has_own = true;
      const std::string_view address = Unquoted(value);
      if (command == "from") current.account.from = IsPlainAddress(address) ? address : "";
    }
  }
  finish();
  return Usable(sections);
}

}  // namespace quillet::port

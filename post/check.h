// SPDX-License-Identifier: GPL-3.0-or-later
// What is checked of a written article before it is stored, and what it is stored as. Pure; any
// thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "post/article_text.h"

namespace quillet {

// The parts of an article as they are stored.
struct CheckedArticle {
  std::string headers;  // lines with CR LF, none empty
  std::string body;
  std::string subject;
  bool operator==(const CheckedArticle&) const = default;
};

// Why it cannot be stored, for the user, and the place concerned: a unit of the text.
struct ArticleFault {
  std::u16string message;
  std::size_t at = 0;
};

// `text` is what stands in the editor, its lines ended by CR LF; the first fault that is found.
std::variant<CheckedArticle, ArticleFault> CheckArticle(std::u16string_view text,
                                                        std::u16string_view references,
                                                        TextForm form);

// What is mailed of such a text. No header is looked at but the subject.
struct MailParts {
  std::u16string_view subject;  // of the text that was asked about
  std::u16string_view body;
};
std::variant<MailParts, ArticleFault> FindMailParts(std::u16string_view text);

}  // namespace quillet

#include "article/view.h"

namespace quillet {

void PrepareArticleView() {}
void DisplayArticle(Node*, std::string_view) {}
void DisplayCurrentArticle(std::vector<MatchRange>) {}
void ClearCurrentArticle() {}
void ForgetArticlePanes() {}
std::optional<std::u16string> CreateMessageBody(const AsciiArticle*, bool) {
  return std::nullopt;
}
std::u16string MessageHeadersText(const AsciiArticle&) {
  return {};
}
void ShowMessageHeaders() {}
void SaveAsFile(std::u16string_view, std::u16string_view, std::string_view) {}
std::u16string DefaultFileName(std::string_view) {
  return {};
}
void ArticleCommand(std::uint32_t) {}
void HandleArticleKey(std::uint32_t) {}

}  // namespace quillet

// What is stored: a group's chain and single articles. 8-bit texts are shown widened, unit by byte.
#include "script/store_commands.h"

#include <array>

#include "script/commands.h"
#include "store/chains.h"
#include "store/compression.h"
#include "store/maintenance.h"
#include "store/records.h"
#include "util/text.h"

namespace quillet {
namespace {

// The databases belong to the program, and are closed with it.
void AskStore(ScriptContext& context, const std::function<void()>& question) {
  if (context.run.ended()) throw RefusedFailure(u"the program has ended");
  context.run.CallOnProgram(question);
}

void AskChain(ScriptContext& context, Words words) {
  JsonList articles;
  AskStore(context, [&] {
    for (auto record = GroupChainFirst(words[0]); record; record = GroupChainNext()) {
      articles.Add(Widen(record->messageId));
    }
  });
  context.run.reporter.Report(
      "chain", JsonObject().Add("group", words[0]).AddRaw("articles", articles.Finish()));
}

std::u16string Wide(const std::optional<std::string>& text) {
  return Widen(text.value_or(""));
}

JsonObject DescribeArticle(const AsciiArticle& article) {
  return JsonObject()
      .Add("number", article.articleNumber)
      .Add("read", article.read)
      .Add("parent", Wide(article.parentId))
      .Add("subject", Wide(article.subject))
      .Add("from", Wide(article.from))
      .Add("date", Wide(article.date))
      .Add("reply_to", Wide(article.replyTo))
      .Add("source", Wide(article.source))
      .Add("headers", Wide(article.headers))
      .Add("body", Wide(article.body));
}

void AskArticle(ScriptContext& context, Words words) {
  JsonObject answer;
  AskStore(context, [&] {
    const auto article = FetchArticle(Narrow(words[0]));
    answer.Add("id", words[0]).Add("found", article != nullptr);
    if (article) answer.Append(DescribeArticle(*article));
  });
  context.run.reporter.Report("article", answer);
}

void DeleteStored(ScriptContext& context, Words words) {
  bool there = false;
  AskStore(context, [&] {
    there = ArticleExists(Narrow(words[0]));
    if (there) DeleteArticle(Narrow(words[0]));
  });
  if (!there) throw MissingFailure(u"no such article is stored: " + words[0]);
}

struct Maintenance {
  std::u16string_view name;
  void (*run)();
};
constexpr std::array<Maintenance, 3> kMaintenance = {{
    {u"compact", CompactDatabases},
    {u"compress", [] { CompressAllArticles(true); }},
    {u"uncompress", [] { CompressAllArticles(false); }},
}};

void MaintainStore(ScriptContext& context, Words words) {
  for (const Maintenance& maintenance : kMaintenance) {
    if (words[0] == maintenance.name) return AskStore(context, maintenance.run);
  }
  throw UsageFailure(u"no such maintenance: " + words[0]);
}

constexpr std::array<ScriptCommand, 4> kStored = {{
    {u"chain", 1, 1, false, AskChain},
    {u"article", 1, 1, false, AskArticle},
    {u"delete-stored", 1, 1, false, DeleteStored},
    {u"maintain", 1, 1, false, MaintainStore},
}};

}  // namespace

std::span<const ScriptCommand> StoreCommands() {
  return kStored;
}

}  // namespace quillet

// SPDX-License-Identifier: GPL-3.0-or-later
// What is stored: a group's chain and single articles, queued posts, mail in the outbox. 8-bit
// texts are shown widened, unit by byte.
#include "script/store_commands.h"

#include <array>
#include <string>
#include <string_view>

#include "port/files.h"
#include "port/mail_store.h"
#include "port/platform.h"
#include "post/article_text.h"
#include "post/draft.h"
#include "script/commands.h"
#include "store/chains.h"
#include "store/compression.h"
#include "store/maintenance.h"
#include "store/pending_posts.h"
#include "store/records.h"
#include "store/refusals.h"
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

// --- what waits to leave -------------------------------------------------------------------------

JsonObject DescribePost(const std::string& key, const AsciiArticle& post) {
  const std::string headers = post.headers.value_or("");
  return JsonObject()
      .Add("key", Widen(key))
      .Add("subject", Wide(post.subject))
      .Add("newsgroups", Widen(FindHeaderLine("Newsgroups:", headers).value))
      .Add("headers", Wide(post.headers))
      .Add("body", Wide(post.body))
      .Add("refused", post.read != 0)
      .Add("refusal", RefusalOfPost(key));
}

void AskQueue(ScriptContext& context, Words /*words*/) {
  JsonList posts;
  AskStore(context, [&] {
    for (auto key = NextPendingPostKey(std::nullopt); key; key = NextPendingPostKey(key)) {
      const auto post = FetchPendingPost(*key);
      posts.Add(post ? DescribePost(*key, *post) : JsonObject().Add("key", Widen(*key)));
    }
  });
  context.run.reporter.Report("queue", JsonObject().AddRaw("posts", posts.Finish()));
}

void AskOutbox(ScriptContext& context, Words /*words*/) {
  JsonList mails;
  context.run.CallOnProgram([&] {
    for (const port::WaitingMail& mail : gPlatform->mail.Waiting()) {
      mails.Add(JsonObject()
                    .Add("id", mail.id)
                    .Add("service", mail.service)
                    .Add("to", mail.to)
                    .Add("subject", mail.subject)
                    .Add("message", mail.message)
                    .Add("reason", mail.reason)
                    .Add("held", mail.held));
    }
  });
  context.run.reporter.Report("outbox", JsonObject().AddRaw("mails", mails.Finish()));
}

JsonObject DescribeDraft(const Draft& draft) {
  return JsonObject()
      .Add("simple", draft.simple)
      .Add("text", draft.info.text)
      .Add("subject", draft.info.subject)
      .Add("newsgroups", draft.info.newsgroups)
      .Add("recipients", draft.info.recipients)
      .Add("key", Widen(draft.info.key))
      .Add("caret", draft.caret);
}

void AskDraft(ScriptContext& context, Words /*words*/) {
  JsonObject answer;
  context.run.CallOnProgram([&] {
    const auto data = gPlatform->files.ReadFile(kDraftPath, kLongestDraft);
    answer.Add("exists", data.has_value());
    if (!data) return;
    const auto draft = ParseDraft(*data);
    answer.Add("readable", draft.has_value());
    if (draft) answer.Append(DescribeDraft(*draft));
  });
  context.run.reporter.Report("draft", answer);
}

constexpr std::array<ScriptCommand, 7> kStored = {{
    {u"chain", 1, 1, false, AskChain},
    {u"article", 1, 1, false, AskArticle},
    {u"queue", 0, 0, false, AskQueue},
    {u"outbox", 0, 0, false, AskOutbox},
    {u"draft", 0, 0, false, AskDraft},
    {u"delete-stored", 1, 1, false, DeleteStored},
    {u"maintain", 1, 1, false, MaintainStore},
}};

}  // namespace

std::span<const ScriptCommand> StoreCommands() {
  return kStored;
}

}  // namespace quillet

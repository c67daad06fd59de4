// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the editors and the queue stand on: an open store, a main window, and a user
// who types, presses and answers.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/box_owner.h"
#include "base/extensions.h"
#include "base/window_procedures.h"
#include "port/fake/fake_mail_store.h"
#include "post/compose.h"
#include "post/draft.h"
#include "post/editor.h"
#include "post/queue.h"
#include "res/resource.h"
#include "store/pending_posts.h"
#include "tests/store/store_fixture.h"

namespace quillet {

class EditorTest : public StoreTest {
 protected:
  EditorTest() {
    gPrefs->fullname = u"Ann Example";
    gPrefs->returnmailaddress = u"ann@example.invalid";
    gPrefs->attribution = u"$a wrote:";
    gPrefs->quotestring = u"> ";
    gPrefs->font = u"Tahoma";
    gPrefs->fontsize = 3;
    OpenStore();
    CreateWindow();
    fake.display.ShowMainWindow();
    fake.mail.services = {};
    SetUtcYear(2026);
  }

  // The second of January 3:04:05.006.
  void SetUtcYear(int year) {
    fake.clock.SetUtcOffset(0);
    fake.clock.SetLocalTime({year, 1, 0, 2, 3, 4, 5, 6});
  }
  // While it is pressed no post can be stored.
  void PressWhileStoresFail(std::uint32_t control) {
    gDatabaseErrorFlag = true;
    Press(control);
    gDatabaseErrorFlag = false;
  }

  // Handles what waits for the program thread.
  void Pump() {
    fake.HandleWaiting([](const port::Message& message) { Dispatch(message); });
  }
  port::WindowHandle Full() { return fake.display.DialogOfForm(kDialogPostMessage); }
  port::WindowHandle Simple() { return fake.display.DialogOfForm(kDialogSimplePost); }
  port::WindowHandle Window() { return Full() != 0 ? Full() : Simple(); }
  std::u16string Text(std::uint32_t control = kControlArticleText) {
    return fake.display.Control(Window(), control)->text;
  }
  void Type(std::u16string_view text, std::uint32_t control = kControlArticleText) {
    ASSERT_TRUE(fake.display.Type(Window(), control, text));
    Pump();
  }
  void Press(std::uint32_t control) {
    ASSERT_TRUE(fake.display.Press(Window(), control));
    Pump();
  }
  void ChooseField(int field) {
    ASSERT_TRUE(fake.display.Choose(Simple(), kControlPostField, field));
    Pump();
  }
  void ChooseRoute(const std::u16string& entry) {
    fake.display.ExpectPopUp(entry);
    Press(kControlRoute);
  }
  // The answer to the next dialog that asks for recipients.
  void AnswerReaddress(const std::u16string& recipients, bool ok = true) {
    fake.display.WhenShown(kDialogReaddressEmail, [=, this](port::WindowHandle dialog) {
      asked_recipients = fake.display.Control(dialog, kControlRecipients)->text;
      if (ok) fake.display.Type(dialog, kControlRecipients, recipients);
      fake.display.Press(dialog, ok ? kControlOk : kControlCancel);
    });
  }

  static AsciiArticle Source() {
    AsciiArticle article;
    article.messageId = "<s@x>";
    article.headers = "Newsgroups: comp.test\r\nReferences: <a@x>\r";
    article.body = "One\r\n";
    article.subject = "Hello";
    article.from = "Bob <bob@example.invalid>";
    article.replyTo = "Bob <bob@example.invalid>";
    return article;
  }
  void WriteCodePage() { fake.registry.PutDword(kExtensionsPath, u"postcharsets", 0); }
  static void UseFull() { gPrefs->simplepost = 0; }
  static void UseSimple() { gPrefs->simplepost = 1; }

  static std::vector<std::string> Keys() {
    std::vector<std::string> keys;
    for (auto key = NextPendingPostKey(std::nullopt); key; key = NextPendingPostKey(key)) {
      keys.push_back(*key);
    }
    return keys;
  }
  std::vector<std::u16string> Boxes() { return BoxTexts(); }
  bool DraftThere() { return fake.files.FileSize(kDraftPath).has_value(); }

  std::u16string asked_recipients;
};

}  // namespace quillet

// SPDX-License-Identifier: GPL-3.0-or-later
// All forms of the program as widgets: what readers of the screen and the keyboard need of them,
// and the sheet with all pages of the preferences on the screens it is made for.
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QTextDocument>
#include <QWheelEvent>
#include <algorithm>
#include <map>
#include <set>

#include "base/extensions.h"
#include "qt/dialogs.h"
#include "qt/form_list.h"
#include "qt/forms.h"
#include "qt/main_window.h"
#include "qt/sheet_dialog.h"
#include "res/dialog_templates.h"
#include "res/resource.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::WindowHandle;

const auto kPages = std::to_array<port::SheetPage>({{140, u"Server"},
                                                    {142, u"Connection"},
                                                    {143, u"Reply information"},
                                                    {144, u"Signature"},
                                                    {145, u"Download options"},
                                                    {146, u"Storage options"},
                                                    {147, u"Compression"},
                                                    {148, u"Killfile"},
                                                    {149, u"Group view options"},
                                                    {150, u"Thread view options"},
                                                    {151, u"Article view options"},
                                                    {152, u"Scheduling"},
                                                    {153, u"Database Management"},
                                                    {154, u"Advanced"},
                                                    {155, u"Advanced:headers"},
                                                    {156, u"Advanced: Debugging"},
                                                    {157, u"Extensions"}});

std::uint32_t IdOf(const QWidget& widget) {
  return widget.property("controlId").toUInt();
}

// The widgets that have an id, in the order of the form's file.
std::vector<QWidget*> ControlsIn(const QWidget& form) {
  std::vector<QWidget*> controls;
  for (QWidget* widget : form.findChildren<QWidget*>()) {
    if (IdOf(*widget) != 0) controls.push_back(widget);
  }
  return controls;
}

QLabel* LabelOf(const QWidget& form, const QWidget& control) {
  for (QLabel* label : form.findChildren<QLabel*>()) {
    if (label->buddy() == &control) return label;
  }
  return nullptr;
}

bool IsField(const QWidget& widget) {
  return qobject_cast<const QLineEdit*>(&widget) || qobject_cast<const QComboBox*>(&widget) ||
         qobject_cast<const QPlainTextEdit*>(&widget) || qobject_cast<const QSlider*>(&widget) ||
         qobject_cast<const QAbstractSpinBox*>(&widget) ||
         dynamic_cast<const FormList*>(&widget) != nullptr;
}

class ProductForms : public DisplayTest {
 protected:
  // Every form as a widget of its own, one after the other.
  void ForEach(const std::function<void(const DialogTemplate& form, QWidget& widget)>& look) {
    for (const DialogTemplate& form : ProductTemplates()) {
      OnDisplay([&] {
        const Tell nobody = [](const port::Message&) {};
        const std::unique_ptr<QWidget> widget(
            form.is_page ? NewFormPage(form.id, nobody)
                         : NewFormDialog(form.id, nullptr, port::DialogKind::kModal, nobody));
        ASSERT_NE(widget, nullptr);
        look(form, *widget);
      });
    }
  }
};

TEST_F(ProductForms, EveryControlHasANameForReaders) {
  ForEach([](const DialogTemplate& form, const QWidget& widget) {
    EXPECT_FALSE(widget.accessibleName().isEmpty()) << form.id;
    for (const QWidget* control : ControlsIn(widget)) {
      EXPECT_FALSE(control->accessibleName().isEmpty()) << form.id << ": " << IdOf(*control);
      EXPECT_FALSE(control->accessibleName().contains(QLatin1Char('&'))) << IdOf(*control);
    }
  });
}

TEST_F(ProductForms, EveryFieldHasALabelOfItsOwn) {
  // Texts and lists that fill their windows, and fields beside the list or button that says what
  // they are.
  const std::set<std::uint32_t> plain{kControlAboutText,
                                      kControlArticleText,
                                      kControlMessageHeaders,
                                      kControlErrorLog,
                                      kControlAuthorText,
                                      kControlSubjectText,
                                      kControlAuthorRule,
                                      kControlSubjectRule,
                                      1063,
                                      1065,
                                      1069,
                                      1072};
  int fields = 0;
  ForEach([&](const DialogTemplate& form, const QWidget& widget) {
    for (const QWidget* control : ControlsIn(widget)) {
      if (!IsField(*control) || plain.contains(IdOf(*control))) continue;
      ++fields;
      EXPECT_NE(LabelOf(widget, *control), nullptr) << form.id << ": " << IdOf(*control);
    }
  });
  EXPECT_GE(fields, 30);
}

TEST_F(ProductForms, TwoControlsShareAnAcceleratorKeyOnOnePageOnly) {
  ForEach([](const DialogTemplate& form, const QWidget& widget) {
    std::map<QString, int> keys;
    for (const QWidget* control : ControlsIn(widget)) {
      const auto* button = qobject_cast<const QAbstractButton*>(control);
      if (button == nullptr) continue;
      const QString key = QKeySequence::mnemonic(button->text()).toString();
      if (!key.isEmpty()) ++keys[key];
    }
    for (const auto& [key, count] : keys) {
      const bool meant = form.id == kDialogKillfilePage && key == QStringLiteral("Alt+A");
      EXPECT_EQ(count, meant ? 2 : 1) << form.id << ": " << key.toStdString();
    }
  });
}

TEST_F(ProductForms, TextsOfThePagesAreTheseToTheCharacter) {
  const std::map<std::uint32_t, const char*> texts{{1101, "&Add"},
                                                   {1102, "&Delete"},
                                                   {1104, "&Server requires an extra login"},
                                                   {1107, "&Use encrypted authentication"},
                                                   {1108, "&Treat all servers as one"},
                                                   {1116, "&Use full post view"},
                                                   {1118, "&Beep when done downloading"},
                                                   {1119, "&Download newest messages"},
                                                   {1125, "&Discard unnecessary headers"},
                                                   {1127, "&Always compress articles"},
                                                   {1128, "&Compress Now"},
                                                   {1129, "&Uncompress Now"},
                                                   {1131, "&Subject"},
                                                   {1132, "&Author"},
                                                   {1133, "&Kill"},
                                                   {1134, "&Require"},
                                                   {1135, "&Delete"},
                                                   {1136, "Delete from &all"},
                                                   {1137, "&Propagate to all"},
                                                   {1142, "&Use threading"},
                                                   {1143, "&Reverse thread order"},
                                                   {1148, "&Show all headers"},
                                                   {1149, "&Auto-remove CRs"},
                                                   {1150, "&Quoted text in color"},
                                                   {1151, "&Automatic (scheduled) download"},
                                                   {1153, "&Read"},
                                                   {1154, "A&ll"},
                                                   {1155, "&Delete before download"},
                                                   {1156, "Delete before &Quit"},
                                                   {1159, "&Purge"},
                                                   {1160, "&Compact"},
                                                   {1161, "&Skip all warning confirmations"},
                                                   {1162, "&Left"},
                                                   {1163, "&Bottom"},
                                                   {1164, "&Right"},
                                                   {1165, "&Clear email transport"},
                                                   {1166, "R&eset prefs to defaults"},
                                                   {1168, "&Keep transaction log"},
                                                   {1169, "&Save log"},
                                                   {1194, "<< Back"}};
  std::size_t found = 0;
  ForEach([&](const DialogTemplate& /*form*/, const QWidget& widget) {
    for (const QWidget* control : ControlsIn(widget)) {
      const auto text = texts.find(IdOf(*control));
      if (text == texts.end()) continue;
      ++found;
      EXPECT_EQ(qobject_cast<const QAbstractButton*>(control)->text(),
                QString::fromLatin1(text->second));
    }
  });
  EXPECT_EQ(found, texts.size());
}

TEST_F(ProductForms, LabelsOfThePagesAreTheseToTheCharacter) {
  const std::map<std::uint32_t, const char*> labels{
      {1103, "Port:"},
      {1105, "Us&ername:"},
      {1106, "&Password:"},
      {1110, "Server name:"},
      {1111, "Choose connection method:"},
      {1112, "Return email address:"},
      {1113, "Full name:"},
      {1114, "Quote text:"},
      {1115, "Reply attribution:"},
      {1117, "Signature on posts:"},
      {1121, "Maximum storage to use:"},
      {1123, "Maximum article size (k):"},
      {1124, "Maximum article count:"},
      {1130, "Global Killfile"},
      {1138, "Group Font:"},
      {1139, "Size:"},
      {1140, "Thread Font:"},
      {1141, "Size:"},
      {1144, "Article Font:"},
      {1145, "Size:"},
      {1146, "Header Font:"},
      {1147, "Size:"},
      {1158, "Store databases on:"},
      {1190, "News server:"},
      {1191, "Your full name:"},
      {1192, "Your email address:"},
      {1193, "Please select the network connection that you will use to download news:"},
      {1212, "&Security:"},
      {1213, "Port:"},
      {1214, "&Security:"}};
  std::size_t found = 0;
  ForEach([&](const DialogTemplate& /*form*/, const QWidget& widget) {
    for (const QWidget* control : ControlsIn(widget)) {
      const auto label = labels.find(IdOf(*control));
      if (label == labels.end()) continue;
      ++found;
      EXPECT_EQ(LabelOf(widget, *control)->text(), QString::fromLatin1(label->second));
    }
  });
  EXPECT_EQ(found, labels.size());
}

TEST_F(ProductForms, NotesAndTitlesAreTheseToTheCharacter) {
  const auto has_text = [](const QWidget& widget, const char* text) {
    const auto labels = widget.findChildren<QLabel*>();
    return std::ranges::any_of(
        labels, [&](const QLabel* label) { return label->text() == QString::fromLatin1(text); });
  };
  ForEach([&](const DialogTemplate& form, const QWidget& widget) {
    if (form.id == 141) {
      EXPECT_EQ(widget.windowTitle(), QStringLiteral("Add Server"));
    }
    if (form.id == 146) {
      EXPECT_TRUE(has_text(widget, "(may cause posts to be improperly threaded)"));
    }
    if (form.id == 158 || form.id == 159) {
      EXPECT_EQ(widget.windowTitle(), QStringLiteral("Quillet CE Quick Setup"));
    }
    if (form.id == 158) {
      EXPECT_TRUE(has_text(widget, "(one more page)"));
    }
    if (form.id != 159) return;
    EXPECT_TRUE(has_text(widget,
                         "If you use a  direct connection (such as an ethernet card), select "
                         "\"<none>\"."));
  });
}

TEST_F(ProductForms, NumbersHaveRoomForTheirDigitsAndNoMore) {
  ForEach([](const DialogTemplate& form, QWidget& widget) {
    if (form.id != kDialogServerPage) return;
    const QWidget& port = *ControlOf(widget, kControlServerPort);
    const int digit = port.fontMetrics().horizontalAdvance(QLatin1Char('0'));
    EXPECT_GE(port.maximumWidth(), 5 * digit);
    EXPECT_LE(port.maximumWidth(), 9 * digit);
    EXPECT_TRUE(port.inputMethodHints() & Qt::ImhDigitsOnly);
  });
}

TEST_F(ProductForms, SliderGoesFrom0To100BySteps) {
  ForEach([](const DialogTemplate& form, QWidget& widget) {
    if (form.id != kDialogStoragePage) return;
    const auto& slider = *qobject_cast<QSlider*>(ControlOf(widget, kControlMaxStore));
    EXPECT_EQ(slider.minimum(), 0);
    EXPECT_EQ(slider.maximum(), 100);
    EXPECT_EQ(slider.singleStep(), 1);
    EXPECT_EQ(slider.pageStep(), 10);
  });
}

TEST_F(ProductForms, ReturnInQuickSetupPressesTheButtonThatHasTheFocus) {
  const WindowHandle dialog =
      device->dialogs().Create(kDialogQuickSetupConnection, 0, port::DialogKind::kModal);
  device->dialogs().Show(dialog);
  OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(device->display().WidgetOf(dialog))); });
  for (const auto& [focus, pressed] : {std::pair{kControlSetupConnection, kControlOk},
                                       {kControlSetupBack, kControlSetupBack},
                                       {kControlCancel, kControlCancel},
                                       {kControlOk, kControlOk}}) {
    OnDisplay([&] { ControlOf(*device->display().WidgetOf(dialog), focus)->setFocus(); });
    TakeMessages(queues);
    Key(Qt::Key_Return);
    EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kCommand), (Details{{pressed, 0}}));
  }
}

// --- the sheet -----------------------------------------------------------------------------------

class AllPages : public DisplayTest {
 protected:
  void SetUp() override {
    sheet = device->sheets().Create(u"Quillet CE Preferences", kPages, 0);
    ASSERT_NE(sheet, 0U);
    FillPages();
    device->dialogs().Show(sheet);
    OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(&Sheet())); });
    TakeMessages(queues);
  }

  // Texts as long as the program writes them, and long ones of a user.
  void FillPages() {
    port::Dialogs& dialogs = device->dialogs();
    const std::u16string long_name(200, u'w');
    const std::vector<std::u16string> choices{u"<default>", long_name};
    for (const auto& [page, control] : std::vector<std::pair<int, std::uint32_t>>{
             {0, 1100}, {1, 1111}, {8, 1138}, {9, 1140}, {10, 1144}, {10, 1146}, {12, 1158}}) {
      dialogs.Write(PageHandle(page), control, port::Choices{choices});
      dialogs.Write(PageHandle(page), control, port::Choice{1});
    }
    dialogs.Write(PageHandle(2), 1112, port::Text{long_name});
    dialogs.Write(PageHandle(5), 1120, port::Text{u"Store is currently 100% full."});
    dialogs.Write(PageHandle(5), 1122, port::Text{u"100%"});
    dialogs.Write(PageHandle(6), 1126,
                  port::Text{u"Compression DLL (bzip2.dll) not loaded; compression not "
                             u"available."});
    dialogs.Write(PageHandle(7), 1130, port::Rows{{{{long_name, u"subj.", u"kill"}}}});
    dialogs.Write(PageHandle(12), 1157, port::Rows{{{{u"Newsgroup index", u"1023.9K"}}}});
    dialogs.Write(PageHandle(15), 1170,
                  port::Text{u"Loaded GDBMce.dll version: 'GDBM version 1.23. 04/02/2022 (built "
                             u"Feb  8 2023 12:41:43)'"});
    for (const Extension& extension : AllExtensions()) {
      dialogs.Write(PageHandle(16), extension.control, port::Text{std::u16string(extension.title)});
      dialogs.Write(PageHandle(16), extension.line_control,
                    port::Text{std::u16string(extension.what_it_does)});
    }
  }

  SheetDialog& Sheet() { return dynamic_cast<SheetDialog&>(*device->display().WidgetOf(sheet)); }
  WindowHandle PageHandle(int page) { return device->sheets().Page(sheet, page); }
  QWidget& Page(int page) { return *device->display().WidgetOf(PageHandle(page)); }
  static int Count() { return static_cast<int>(kPages.size()); }

  void Resize(QSize size) {
    OnDisplay([&] {
      Sheet().resize(size);
      QCoreApplication::processEvents();
    });
  }

  // Whether everything of the page can be read in the place that it has. Display thread.
  static void ExpectWhole(const QWidget& control, const std::string& where) {
    const std::string what = where + ", " + control.accessibleName().toStdString();
    EXPECT_TRUE(control.parentWidget()->rect().contains(control.geometry())) << what;
    const bool button_only = qobject_cast<const QPushButton*>(&control) != nullptr;
    if (!button_only) {
      EXPECT_GE(control.width(),
                std::min(control.minimumSizeHint().width(), control.maximumWidth()))
          << what;
    }
    EXPECT_GE(control.height(), control.minimumSizeHint().height()) << what;
    if (const auto* label = qobject_cast<const QLabel*>(&control)) {
      const int height =
          label->wordWrap() ? label->heightForWidth(label->width()) : label->sizeHint().height();
      EXPECT_GE(label->height(), height) << what;
      if (!label->wordWrap()) {
        EXPECT_GE(label->width(), label->sizeHint().width()) << what;
      }
    }
    if (const auto* button = qobject_cast<const QAbstractButton*>(&control)) {
      const int text = button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width();
      EXPECT_GE(button->width(), text + 4) << what;
    }
  }

  void ExpectNothingClipped() {
    for (int page = 0; page < Count(); ++page) {
      device->sheets().ShowPage(sheet, page);
      OnDisplay([&] {
        QCoreApplication::processEvents();
        QWidget& shown = Page(page);
        const std::string where = shown.accessibleName().toStdString();
        auto& area = *qobject_cast<QScrollArea*>(shown.parentWidget()->parentWidget());
        EXPECT_EQ(area.horizontalScrollBar()->maximum(), 0) << where;
        EXPECT_LE(shown.width(), area.viewport()->width()) << where;
        EXPECT_GE(area.viewport()->height(), 60) << where;
        for (const QWidget* widget : shown.findChildren<QWidget*>()) {
          const bool own = IdOf(*widget) != 0 || qobject_cast<const QLabel*>(widget) != nullptr;
          if (own && widget->isVisible()) ExpectWhole(*widget, where);
        }
        for (const QPushButton* button : Sheet().findChildren<QPushButton*>()) {
          if (!button->isVisible() || shown.isAncestorOf(button)) continue;
          const QRect place(button->mapTo(&Sheet(), QPoint()), button->size());
          EXPECT_TRUE(Sheet().rect().contains(place)) << where;
        }
      });
    }
  }

  // The controls that Tab should come to, in order: of radio buttons the first of a group.
  static std::vector<std::uint32_t> StopsOf(const QWidget& page) {
    std::vector<std::uint32_t> stops;
    const QWidget* group = nullptr;
    for (const QWidget* control : ControlsIn(page)) {
      if (qobject_cast<const QLabel*>(control) != nullptr) continue;
      const bool radio = qobject_cast<const QRadioButton*>(control) != nullptr;
      if (radio && control->parentWidget() == group) continue;
      if (radio) group = control->parentWidget();
      stops.push_back(IdOf(*control));
    }
    return stops;
  }

  // Where Tab goes from the names of the pages to OK.
  std::vector<std::uint32_t> TabStops() {
    std::vector<std::uint32_t> stops;
    OnDisplay([&] { NamesOfPages().setFocus(); });
    for (int i = 0; i < 40; ++i) {
      Key(Qt::Key_Tab);
      std::uint32_t id = 0;
      bool in_page = true;
      OnDisplay([&] {
        const QWidget* focus = Sheet().focusWidget();
        while (IdOf(*focus) == 0 && focus != &Sheet()) focus = focus->parentWidget();
        in_page = focus != &Sheet();
        id = IdOf(*focus);
      });
      if (!in_page) break;
      // The parts of a time are stops of their own.
      if (stops.empty() || stops.back() != id) stops.push_back(id);
    }
    return stops;
  }
  QWidget& NamesOfPages() {
    if (auto* names = Sheet().findChild<QListWidget*>()) return *names;
    return *Sheet().findChild<QComboBox*>(QString(), Qt::FindDirectChildrenOnly);
  }

  void ExpectTabReachesAll() {
    for (int page = 0; page < Count(); ++page) {
      device->sheets().ShowPage(sheet, page);
      std::vector<std::uint32_t> wanted;
      OnDisplay([&] { wanted = StopsOf(Page(page)); });
      EXPECT_EQ(TabStops(), wanted) << page;
    }
  }

  WindowHandle sheet = 0;
};

TEST_F(AllPages, NothingIsClippedAtTheSizeThatTheSheetGetsByItself) {
  ExpectNothingClipped();
}

TEST_F(AllPages, NothingIsClippedOnALargeScreen) {
  Resize({3840, 2160});
  ExpectNothingClipped();
}

TEST_F(AllPages, NothingIsClippedOnALowScreen) {
  Resize({800, 480});
  ExpectNothingClipped();
}

TEST_F(AllPages, TheSheetCannotBeMadeTooNarrow) {
  Resize({100, 100});
  OnDisplay([&] { EXPECT_GT(Sheet().width(), 240); });
  ExpectNothingClipped();
}

TEST_F(AllPages, TabReachesEveryControlInTheOrderOfTheForm) {
  ExpectTabReachesAll();
}

TEST_F(AllPages, ControlPageDownTurnsThePageFromEveryControl) {
  for (int page = 0; page < Count(); ++page) {
    std::vector<std::uint32_t> stops;
    OnDisplay([&] { stops = StopsOf(Page(page)); });
    for (const std::uint32_t stop : stops) {
      device->sheets().ShowPage(sheet, page);
      OnDisplay([&] { ControlOf(Page(page), stop)->setFocus(); });
      Key(Qt::Key_PageDown, Qt::ControlModifier);
      OnDisplay([&] { EXPECT_EQ(Sheet().ShownPage(), (page + 1) % Count()) << stop; });
    }
  }
}

TEST_F(AllPages, ReturnIsOkFromEveryControlButTextsOfSeveralLines) {
  for (int page = 0; page < Count(); ++page) {
    device->sheets().ShowPage(sheet, page);
    std::vector<std::uint32_t> stops;
    OnDisplay([&] { stops = StopsOf(Page(page)); });
    for (const std::uint32_t stop : stops) {
      OnDisplay([&] { ControlOf(Page(page), stop)->setFocus(); });
      TakeMessages(queues);
      Key(Qt::Key_Return);
      const bool lines = stop == kControlSignature || stop == kControlExtraHeaders;
      // A picker tells its time again.
      Details pressed = OfKind(TakeMessages(queues), MessageKind::kCommand);
      std::erase_if(pressed, [](const auto& one) { return one.first == kControlDownloadTime; });
      EXPECT_EQ(pressed, lines ? Details{} : (Details{{kControlOk, 0}})) << stop;
    }
  }
}

TEST_F(AllPages, ReturnOnCancelIsCancel) {
  OnDisplay([&] {
    for (QPushButton* button : Sheet().findChildren<QPushButton*>()) {
      if (button->text() == QStringLiteral("Cancel")) button->setFocus();
    }
  });
  TakeMessages(queues);
  Key(Qt::Key_Return);
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kCommand), (Details{{kControlCancel, 0}}));
}

// A page that goes with the focus in it hands it on to OK for a moment.
TEST_F(AllPages, OkStaysTheButtonOfReturnWhenItHadTheFocus) {
  OnDisplay([&] {
    for (QPushButton* button : Sheet().findChildren<QPushButton*>()) {
      if (button->text() == QStringLiteral("OK")) button->setFocus();
    }
    ControlOf(Page(0), kControlServerPort)->setFocus();
  });
  TakeMessages(queues);
  Key(Qt::Key_Return);
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kCommand), (Details{{kControlOk, 0}}));
}

TEST_F(AllPages, EscapeIsCancelFromEveryControl) {
  for (int page = 0; page < Count(); ++page) {
    device->sheets().ShowPage(sheet, page);
    std::vector<std::uint32_t> stops;
    OnDisplay([&] { stops = StopsOf(Page(page)); });
    for (const std::uint32_t stop : stops) {
      OnDisplay([&] { ControlOf(Page(page), stop)->setFocus(); });
      TakeMessages(queues);
      Key(Qt::Key_Escape);
      EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kCommand), (Details{{kControlCancel, 0}}))
          << stop;
    }
  }
}

// Alt+S is "Server requires an extra login" on the first page, "Save log" here.
TEST_F(AllPages, AcceleratorKeysAreThoseOfThePageInFront) {
  device->sheets().ShowPage(sheet, 15);
  TakeMessages(queues);
  Key(Qt::Key_S, Qt::AltModifier);
  ASSERT_TRUE(WaitOnDisplay(
      [&] { return !qobject_cast<QPushButton*>(ControlOf(Page(15), kControlSaveLog))->isDown(); }));
  OnDisplay([] { QTest::qWait(200); });  // the button is seen to go down
  const std::vector<port::Message> messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kCommand), (Details{{kControlSaveLog, 0}}));
  EXPECT_FALSE(device->dialogs().Read(PageHandle(0), kControlExtraLogin).checked);
}

// Without waiting for the next picture of a stream.
TEST_F(AllPages, WhatIsWrittenIntoAPageIsShownAtOnce) {
  for (int number = 1; number <= 5; ++number) {
    device->dialogs().Write(PageHandle(0), kControlServerPort,
                            port::Text{std::u16string(1, static_cast<char16_t>(u'0' + number))});
    OnDisplay([&] {
      const auto& edit = *qobject_cast<QLineEdit*>(ControlOf(Page(0), kControlServerPort));
      EXPECT_EQ(edit.text(), QString::number(number));
    });
  }
}

// A page is scrolled by the wheel, and a setting below the pointer stays what it is.
TEST_F(AllPages, TheWheelChangesWhatHasTheFocusAlone) {
  device->sheets().ShowPage(sheet, 8);
  OnDisplay([&] {
    auto& sizes = *qobject_cast<QComboBox*>(ControlOf(Page(8), kControlGroupFontSize));
    sizes.addItems({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
    sizes.setCurrentIndex(0);
    const QPoint middle = sizes.rect().center();
    const auto turn = [&] {
      QWheelEvent down(middle, sizes.mapToGlobal(middle), {}, {0, -120}, Qt::NoButton,
                       Qt::NoModifier, Qt::NoScrollPhase, false);
      QCoreApplication::sendEvent(&sizes, &down);
      return sizes.currentIndex();
    };
    NamesOfPages().setFocus();
    EXPECT_EQ(turn(), 0);
    sizes.setFocus();
    EXPECT_EQ(turn(), 1);
  });
}

TEST_F(AllPages, ABoxIsReadWholeAndNamedByItsText) {
  const Extension& extension = AllExtensions().front();
  EXPECT_EQ(device->dialogs().Read(PageHandle(16), extension.control).text, extension.title);
  OnDisplay([&] {
    EXPECT_EQ(ControlOf(Page(16), extension.control)->accessibleName(),
              QStringLiteral("Give posts a Message-ID"));
  });
}

// A phone's screen; skips what was made for the other one.
class SmallScreenPages : public AllPages {
 protected:
  void SetUp() override {
    bool small = false;
    OnDisplay([&] { small = FillsScreen(nullptr); });
    if (!small) GTEST_SKIP() << "the screen is a desktop's";
    AllPages::SetUp();
  }
};

TEST_F(SmallScreenPages, NothingIsClipped) {
  Resize({240, 320});
  OnDisplay([&] { EXPECT_EQ(Sheet().width(), 240); });
  ExpectNothingClipped();
}

TEST_F(SmallScreenPages, NothingIsClippedWithLargeLetters) {
  QFont before;
  OnDisplay([&] {
    before = QApplication::font();
    QFont larger = before;
    larger.setPointSizeF(before.pointSizeF() * 1.2);
    QApplication::setFont(larger);
  });
  Resize({240, 320});
  ExpectNothingClipped();
  OnDisplay([&] { QApplication::setFont(before); });
}

TEST_F(SmallScreenPages, TabReachesEveryControlInTheOrderOfTheForm) {
  ExpectTabReachesAll();
}

TEST_F(SmallScreenPages, QuickSetupFits) {
  for (const std::uint32_t form :
       {kDialogQuickSetup, kDialogQuickSetupConnection, kDialogAddServer}) {
    const WindowHandle dialog = device->dialogs().Create(form, 0, port::DialogKind::kModal);
    device->dialogs().Show(dialog);
    if (form == kDialogQuickSetup) {
      device->dialogs().WriteMany(
          dialog,
          {{kControlSetupNote, port::Text{u"The server answers on port 563: TLS is filled in."}},
           {kControlSetupNote, port::Visible{true}}});
    }
    OnDisplay([&] {
      QWidget& widget = *device->display().WidgetOf(dialog);
      ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
      EXPECT_LE(widget.width(), 240) << form;
      EXPECT_LE(widget.height(), 320) << form;
      EXPECT_EQ(widget.findChild<QScrollArea*>(QString(), Qt::FindDirectChildrenOnly), nullptr)
          << form;
      for (const QWidget* control : ControlsIn(widget)) ExpectWhole(*control, "form");
      for (const QLabel* label : widget.findChildren<QLabel*>()) ExpectWhole(*label, "form");
    });
    device->dialogs().Destroy(dialog);
  }
}

}  // namespace
}  // namespace quillet::qt

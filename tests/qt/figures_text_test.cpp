// SPDX-License-Identifier: GPL-3.0-or-later
// The line of figures and the bar in the progress dialog: what is added has its fixed place, and
// nothing moves while figures, texts and the button come and go.
#include "qt/figures_text.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "qt/forms.h"
#include "res/resource.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::WindowHandle;

// In this order in the dialog.
const std::vector<std::uint32_t> kFromTheTop = {kControlProgressTitle, kControlProgressBar,
                                                kControlProgressFigures, kControlProgressDetail,
                                                kControlCancel};

const std::u16string kWidest =
    u"group 1234 of 5678, article 123456 of 654321, 10000 articles a second, 12:34:56 left";

class ProgressDialogTest : public DisplayTest {
 protected:
  void Open(bool with_figures) {
    dialog_ = dialogs().Create(kDialogProgress, 0, port::DialogKind::kProgress);
    if (!with_figures) {
      dialogs().Write(dialog_, kControlProgressFigures, port::Visible{false});
    }
    dialogs().Show(dialog_);
    Settle();
  }
  QtDialogs& dialogs() { return device->dialogs(); }
  QWidget& Dialog() { return *device->display().WidgetOf(dialog_); }
  QWidget& Control(std::uint32_t id) { return *ControlOf(Dialog(), id); }
  void Write(std::uint32_t control, port::ControlValue value) {
    dialogs().Write(dialog_, control, std::move(value));
  }
  void Settle() {
    dialogs().Read(dialog_, kControlCancel);  // all is written
    OnDisplay([&] { QCoreApplication::processEvents(); });
  }
  QRect PlaceOf(std::uint32_t id) {
    return {Control(id).mapTo(&Dialog(), QPoint(0, 0)), Control(id).size()};
  }
  // The dialog and all in it.
  std::vector<QRect> Places() {
    std::vector<QRect> places;
    Settle();
    OnDisplay([&] {
      places.emplace_back(QPoint(0, 0), Dialog().size());
      for (const std::uint32_t id : kFromTheTop) places.push_back(PlaceOf(id));
    });
    return places;
  }
  // Display thread. Whether the text as it is broken is drawn whole.
  void ExpectWhole(const QLabel& label, const QString& text) {
    const QRect drawn = label.fontMetrics().boundingRect(
        QRect(0, 0, label.contentsRect().width(), 10000), Qt::TextWordWrap, text);
    EXPECT_LE(drawn.height(), label.contentsRect().height()) << qPrintable(text);
    EXPECT_LE(drawn.width(), label.contentsRect().width()) << qPrintable(text);
  }

  WindowHandle dialog_ = 0;
};

TEST_F(ProgressDialogTest, FiguresStandBetweenTheBarAndTheStatus) {
  Open(true);
  const std::vector<QRect> places = Places();
  for (std::size_t i = 2; i < places.size(); ++i) {
    EXPECT_GT(places[i].top(), places[i - 1].bottom()) << kFromTheTop[i - 1];
  }
  OnDisplay([&] {
    EXPECT_EQ(Control(kControlProgressFigures).accessibleName(), QStringLiteral("Figures"));
  });
}

TEST_F(ProgressDialogTest, NothingMovesWhileFiguresAndTextsChange) {
  Open(true);
  const std::vector<QRect> before = Places();
  Write(kControlProgressBar, port::Range{350});
  for (const std::u16string& figures :
       {std::u16string(u"posting 1 of 2"), std::u16string(u"group 1 of 2"),
        std::u16string(u"group 2 of 5, article 120 of 350, 18 articles a second, 0:40 left"),
        kWidest, std::u16string()}) {
    Write(kControlProgressFigures, port::Text{figures});
    EXPECT_EQ(Places(), before) << qPrintable(QString::fromStdU16String(figures));
  }
  for (const char16_t* text : {u"0%", u"7%", u"100%", u"99%, 12:34:56 left", u""}) {
    Write(kControlProgressBar, port::Text{text});
    EXPECT_EQ(Places(), before) << qPrintable(QString::fromUtf16(text));
  }
  for (const char16_t* text :
       {u"x", u"", u"a very long text of a server, which takes some lines"}) {
    Write(kControlProgressTitle, port::Text{text});
    Write(kControlProgressDetail, port::Text{text});
    EXPECT_EQ(Places(), before);
  }
}

TEST_F(ProgressDialogTest, NothingMovesWhenCancelHides) {
  for (const bool with_figures : {true, false}) {
    Open(with_figures);
    const std::vector<QRect> before = Places();
    Write(kControlCancel, port::Visible{false});
    Settle();
    OnDisplay([&] { EXPECT_FALSE(Control(kControlCancel).isVisible()); });
    EXPECT_EQ(Places(), before);
    dialogs().Destroy(dialog_);
  }
}

TEST_F(ProgressDialogTest, WithoutFiguresThereIsNoHole) {
  Open(true);
  const std::vector<QRect> with = Places();
  dialogs().Destroy(dialog_);
  Open(false);
  const std::vector<QRect> without = Places();
  const int bar_to_status_with = with[4].top() - with[2].bottom();
  const int bar_to_status = without[4].top() - without[2].bottom();
  const int title_to_bar = without[2].top() - without[1].bottom();
  EXPECT_EQ(bar_to_status, title_to_bar) << "one distance between all";
  EXPECT_EQ(with[0].height() - without[0].height(), bar_to_status_with - bar_to_status);
  EXPECT_EQ(with[0].width(), without[0].width());
}

TEST_F(ProgressDialogTest, BarHasNoTextUntilItGetsOne) {
  Open(true);
  OnDisplay([&] {
    EXPECT_FALSE(dynamic_cast<QProgressBar&>(Control(kControlProgressBar)).isTextVisible());
  });
  Write(kControlProgressBar, port::Range{350});
  Write(kControlProgressBar, port::Position{120});
  Write(kControlProgressBar, port::Text{u"34%"});
  EXPECT_EQ(dialogs().Read(dialog_, kControlProgressBar).text, u"34%");
  OnDisplay([&] {
    const auto& bar = dynamic_cast<QProgressBar&>(Control(kControlProgressBar));
    EXPECT_TRUE(bar.isTextVisible());
    EXPECT_EQ(bar.text(), QStringLiteral("34%"));
    EXPECT_EQ(bar.accessibleName(), QStringLiteral("Part done"));
    EXPECT_LE(bar.fontMetrics().horizontalAdvance(QStringLiteral("100%, 12:34:56 left")),
              bar.width());
  });
}

class FiguresTextTest : public DisplayTest {
 protected:
  FiguresTextTest() {
    OnDisplay([&] {
      line_ = std::make_unique<FiguresText>();
      line_->setProperty("lines", 3);
      line_->resize(200, 100);
    });
  }
  ~FiguresTextTest() override {
    OnDisplay([&] { line_.reset(); });
  }
  QString Broken(std::u16string_view figures) {
    QString broken;
    OnDisplay([&] {
      line_->setText(QString::fromUtf16(figures.data(), static_cast<qsizetype>(figures.size())));
      broken = line_->BrokenText();
    });
    return broken;
  }
  // The line is that many times as wide as the text.
  void SetWidth(double share, const QString& text) {
    OnDisplay([&] {
      const int width = line_->fontMetrics().horizontalAdvance(text);
      line_->resize(static_cast<int>(width * share), line_->height());
      QResizeEvent resized(line_->size(), QSize());
      QCoreApplication::sendEvent(line_.get(), &resized);
    });
  }

  std::unique_ptr<FiguresText> line_;
};

TEST_F(FiguresTextTest, LineEndsBetweenTwoFigures) {
  SetWidth(1.1, QStringLiteral("group 2 of 5, article 120 of 350,"));
  EXPECT_EQ(Broken(u"group 2 of 5, article 120 of 350, 18 articles a second, 0:40 left"),
            QStringLiteral("group 2 of 5, article 120 of 350,\n18 articles a second, 0:40 left"));
}

TEST_F(FiguresTextTest, LineThatHasRoomForAllIsOne) {
  const QString all =
      QStringLiteral("group 2 of 5, article 120 of 350, 18 articles a second, 0:40 left");
  SetWidth(1.1, all);
  EXPECT_EQ(Broken(all.toStdU16String()), all);
  EXPECT_EQ(Broken(u""), QString());
  EXPECT_EQ(Broken(u"posting 2 of 3"), QStringLiteral("posting 2 of 3"));
}

TEST_F(FiguresTextTest, BreakStaysWhereItOnceWas) {
  SetWidth(1.02, QStringLiteral("group 0 of 0, article 00 of 000,"));
  EXPECT_EQ(Broken(u"group 2 of 5, article 99 of 350, 8 articles a second"),
            QStringLiteral("group 2 of 5, article 99 of 350,\n8 articles a second"));
  EXPECT_EQ(Broken(u"group 2 of 5, article 10000 of 35000, 8 articles a second"),
            QStringLiteral("group 2 of 5,\narticle 10000 of 35000,\n8 articles a second"));
  EXPECT_EQ(Broken(u"group 3 of 5, article 1 of 9, 8 articles a second"),
            QStringLiteral("group 3 of 5,\narticle 1 of 9,\n8 articles a second"));
}

TEST_F(FiguresTextTest, OtherWidthBreaksAnew) {
  SetWidth(0.5, QStringLiteral("group 2 of 5, article 120 of 350,"));
  Broken(u"group 2 of 5, article 120 of 350");
  SetWidth(1.1, QStringLiteral("group 2 of 5, article 120 of 350,"));
  EXPECT_EQ(Broken(u"group 2 of 5, article 120 of 350"),
            QStringLiteral("group 2 of 5, article 120 of 350"));
}

TEST_F(FiguresTextTest, FiguresThatNeedMoreLinesThanThereAreBreakAnywhere) {
  SetWidth(0.9, QStringLiteral("article 123456 of 654321,"));
  EXPECT_EQ(Broken(kWidest), QString::fromStdU16String(kWidest));
}

TEST_F(ProgressDialogTest, WidestFiguresAreWhole) {
  Open(true);
  Write(kControlProgressFigures, port::Text{kWidest});
  Settle();
  OnDisplay([&] {
    auto& line = dynamic_cast<FiguresText&>(Control(kControlProgressFigures));
    ExpectWhole(line, line.BrokenText());
  });
}

// A phone.
class SmallScreenProgress : public ProgressDialogTest {
 protected:
  void SetUp() override {
    bool small = false;
    OnDisplay([&] { small = FillsScreen(nullptr); });
    if (!small) GTEST_SKIP() << "the screen is a desktop's";
  }
};

TEST_F(SmallScreenProgress, NothingIsClipped) {
  const WindowHandle main = ShowWindow(port::TabPlacement::kBottom, {240, 320});
  dialog_ = dialogs().Create(kDialogProgress, main, port::DialogKind::kProgress);
  dialogs().Show(dialog_);
  Write(kControlProgressFigures, port::Text{kWidest});
  Write(kControlProgressBar, port::Text{u"99%, 12:34:56 left"});
  Settle();
  OnDisplay([&] {
    const QRect screen(0, 0, 240, 320);
    EXPECT_TRUE(screen.contains(QRect(QPoint(0, 0), Dialog().size())))
        << Dialog().width() << "x" << Dialog().height();
    EXPECT_EQ(Dialog().findChild<QScrollArea*>(), nullptr) << "nothing has to be scrolled to";
    for (const std::uint32_t id : kFromTheTop) {
      EXPECT_TRUE(QRect(QPoint(0, 0), Dialog().size()).contains(PlaceOf(id))) << id;
    }
    auto& line = dynamic_cast<FiguresText&>(Control(kControlProgressFigures));
    ExpectWhole(line, line.BrokenText());
    const auto& bar = dynamic_cast<QProgressBar&>(Control(kControlProgressBar));
    EXPECT_LE(bar.fontMetrics().horizontalAdvance(bar.text()), bar.width());
  });
}

}  // namespace
}  // namespace quillet::qt

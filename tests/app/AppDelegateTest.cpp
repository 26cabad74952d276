// Opening Orvane through its URL scheme, and the bar that takes the person back to the caller.
#include <gtest/gtest.h>

#include <QAction>
#include <QDesktopServices>
#include <QMainWindow>
#include <QToolBar>
#include <QTranslator>

#include "ScreenHarness.h"
#include "app/AppDelegate.h"
#include "app/NavController.h"

namespace app::testing {
namespace {

// Receives what Orvane asks the desktop to open for a scheme, instead of the desktop.
class OpenedUrls : public QObject {
  Q_OBJECT

 public:
  explicit OpenedUrls(const QString& scheme) : scheme_(scheme) {
    QDesktopServices::setUrlHandler(scheme_, this, "open");
  }
  ~OpenedUrls() override { QDesktopServices::unsetUrlHandler(scheme_); }
  QList<QUrl> urls;

 public slots:
  void open(const QUrl& url) { urls.append(url); }

 private:
  QString scheme_;
};

TEST(ParseQueryStringTest, SplitsThePairsAfterTheFirstQuestionMark) {
  using Pairs = QHash<QString, QString>;
  EXPECT_EQ(AppDelegate::parseQueryString("orvane://?returnURL=caller%3A%2F%2Fback&backButtonTitle="
                                          "Back%20to%20Caller"),
            (Pairs{{"returnURL", "caller://back"}, {"backButtonTitle", "Back to Caller"}}));
  EXPECT_EQ(AppDelegate::parseQueryString("a=1&b=2&a=3"), (Pairs{{"a", "3"}, {"b", "2"}}));
  EXPECT_EQ(AppDelegate::parseQueryString("x://?q=a?b=c&flag&empty="),
            (Pairs{{"q", "a?b=c"}, {"empty", ""}}));
  EXPECT_TRUE(AppDelegate::parseQueryString("orvane://").isEmpty());
}

TEST(ReturnAddressTest, OnlyAbsoluteAddressesThatReachAnotherApplicationAreKept) {
  EXPECT_EQ(AppDelegate::returnAddressFromString("caller://back?to=list"),
            QUrl("caller://back?to=list"));
  EXPECT_EQ(AppDelegate::returnAddressFromString("https://example.org/done"),
            QUrl("https://example.org/done"));
  for (const char* refused : {"file:///usr/bin/xterm", "FILE:/etc/passwd", "javascript:alert(1)",
                              "data:text/html,hi", "relative/path", "", "http://bad host"})
    EXPECT_FALSE(AppDelegate::returnAddressFromString(refused)) << refused;
}

class AppDelegateTest : public ::testing::Test {
 protected:
  NavController* navController() {
    return qobject_cast<NavController*>(delegate_.window()->centralWidget());
  }

  MainQueueOnEventLoop mainQueue_;
  SoundServer server_{kNoServer};
  AppDelegate delegate_{OrvaneServices::of(server_, [] { return nullptr; })};
  OpenedUrls opened_{"caller"};
};

TEST_F(AppDelegateTest, APlainLaunchThroughTheSchemeChangesNothing) {
  QWidget* screen = delegate_.window()->centralWidget();
  EXPECT_TRUE(delegate_.handleOpenURL(QUrl("orvane://")));
  EXPECT_EQ(delegate_.window()->centralWidget(), screen);
  EXPECT_FALSE(delegate_.returnURL());
}

TEST_F(AppDelegateTest, ACallerGetsABackButtonThatOpensItsAddress) {
  QWidget* screen = delegate_.window()->centralWidget();
  ASSERT_TRUE(delegate_.handleOpenURL(
      QUrl("orvane://?returnURL=caller%3A%2F%2Fback&backButtonTitle=Back")));
  ASSERT_TRUE(navController());
  EXPECT_EQ(navController()->rootViewController(), screen);
  ASSERT_TRUE(navController()->leftBarButtonItem());
  EXPECT_EQ(navController()->leftBarButtonItem()->text(), "Back");
  navController()->leftBarButtonItem()->trigger();
  EXPECT_EQ(opened_.urls, QList<QUrl>{QUrl("caller://back")});

  // A second caller wraps the same screen again, with its own button.
  ASSERT_TRUE(delegate_.handleOpenURL(
      QUrl("orvane://?returnURL=caller%3A%2F%2Fother&backButtonTitle=Done")));
  EXPECT_EQ(navController()->rootViewController(), screen);
  EXPECT_EQ(navController()->navigationBar()->actions().size(), 1);
  navController()->leftBarButtonItem()->trigger();
  EXPECT_EQ(opened_.urls.back(), QUrl("caller://other"));
}

TEST_F(AppDelegateTest, ALocalReturnAddressIsNeverOpened) {
  OpenedUrls files("file");
  ASSERT_TRUE(delegate_.handleOpenURL(
      QUrl("orvane://?returnURL=file%3A%2F%2F%2Fusr%2Fbin%2Fxterm&backButtonTitle=Back")));
  EXPECT_FALSE(delegate_.returnURL());
  ASSERT_TRUE(navController()->leftBarButtonItem()) << "the title alone still makes the button";
  ::testing::internal::CaptureStdout();
  navController()->leftBarButtonItem()->trigger();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "No return address to open\n");
  EXPECT_TRUE(files.urls.isEmpty());
}

TEST(TranslationTest, TheHoldDownTextsAreTranslatedWithTheirNotes) {
  QTranslator german;
  ASSERT_TRUE(german.load(QStringLiteral(":/i18n/orvane_de.qm")));
  EXPECT_EQ(german.translate("app::OrvaneVC", "Hold Down Talk Button"),
            QString::fromUtf8("Sprechtaste gedrückt halten"));
}

}  // namespace
}  // namespace app::testing

#include "AppDelegateTest.moc"

// Saves what the X display shows as a PNG: grab-screen FILE. The end-to-end test uses it to keep
// a picture of the screen while Talk is held, without a screenshot package of its own.
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FILE.png\n", argv[0]);
    return 2;
  }
  // Whatever platform the environment names, a grab needs the real display.
  qputenv("QT_QPA_PLATFORM", "xcb");
  QGuiApplication application(argc, argv);
  const QPixmap screen = QGuiApplication::primaryScreen()->grabWindow(0);
  if (screen.isNull() || !screen.save(QString::fromLocal8Bit(argv[1]), "PNG")) {
    std::fprintf(stderr, "grab-screen: could not grab the screen into %s\n", argv[1]);
    return 1;
  }
  return 0;
}

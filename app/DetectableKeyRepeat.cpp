#include "app/DetectableKeyRepeat.h"

#include <QGuiApplication>

#include "foundation/Console.h"

// Last: Xlib defines macros (Bool, Status) that Qt's headers refuse to follow.
#include <X11/XKBlib.h>

namespace app {

void enableDetectableKeyRepeat() {
  auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11 || !x11->display())
    return;
  // Set on Qt's own connection: the flag belongs to the client that reads the key events.
  Bool supported = False;
  XkbSetDetectableAutoRepeat(x11->display(), True, &supported);
  if (!supported)
    foundation::Console::line(
        "The X server cannot report key repeats apart from releases; a held key may stutter");
}

}  // namespace app

#pragma once

namespace app {

// An X server repeats a held key as release-and-press pairs. Qt tells them from a real release
// by looking for the press already queued behind it, which on a busy machine has not always
// arrived yet: a held Space then reads as many short presses. Asked for detectable repeat, the
// server sends the repeated presses alone, and a release is always a real one. Does nothing
// off X11; logs a line when the server cannot do it. Call once the application exists.
void enableDetectableKeyRepeat();

}  // namespace app

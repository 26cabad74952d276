#pragma once

namespace foundation {

// How urgent a queue's work is. Utility and background work run at a lower scheduling
// priority so they never compete with the interface or with audio.
enum class QualityOfService { UserInteractive, UserInitiated, Default, Utility, Background };

inline constexpr int kQualityOfServiceCount = 5;

}  // namespace foundation

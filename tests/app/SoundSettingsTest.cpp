#include <gtest/gtest.h>

#include <fstream>

#include "TemporaryDirectory.h"
#include "app/SoundSettings.h"

namespace app {
namespace {

class SoundSettingsTest : public ::testing::Test {
 protected:
  QString install(const char* program) {
    const auto path = directory_.path() / program;
    std::ofstream(path) << "#!/bin/sh\n";
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return QString::fromStdString(path.string());
  }
  QStringList path() const { return {QString::fromStdString(directory_.path().string())}; }

  foundation::TemporaryDirectory directory_;
};

TEST_F(SoundSettingsTest, TheRunningDesktopsPanelComesBeforeAMixer) {
  const QString mixer = install("pavucontrol");
  const QString plasma = install("systemsettings");
  install("gnome-control-center");

  auto onPlasma = SoundSettings("KDE", path()).command();
  ASSERT_TRUE(onPlasma);
  EXPECT_EQ(onPlasma->program, plasma);
  EXPECT_EQ(onPlasma->arguments, QStringList{"kcm_pulseaudio"});

  auto onXfce = SoundSettings("XFCE", path()).command();
  ASSERT_TRUE(onXfce);
  EXPECT_EQ(onXfce->program, mixer);

  auto onUbuntu = SoundSettings("ubuntu:GNOME", path()).command();
  ASSERT_TRUE(onUbuntu);
  EXPECT_EQ(onUbuntu->arguments, QStringList{"sound"});
}

TEST_F(SoundSettingsTest, NothingInstalledOpensNothing) {
  install("gnome-control-center");  // of no use outside GNOME
  SoundSettings settings("KDE", path());
  EXPECT_FALSE(settings.command());
  EXPECT_FALSE(settings.open());
}

}  // namespace
}  // namespace app

#pragma once

#include <QWidget>

class QToolButton;

namespace platform {
class RouteList;
class SystemVolume;
}  // namespace platform

namespace views {

class VolumeSlider;

// The system volume control: a slider bound to the system volume, and a route button that opens
// the route picker. Moving the slider sets the volume; a change made anywhere else moves the
// slider. Either part can be hidden. Subclasses may place the parts differently.
class VolumeView : public QWidget {
  Q_OBJECT

 public:
  explicit VolumeView(QWidget* parent = nullptr);
  explicit VolumeView(const QRect& frame, QWidget* parent = nullptr);
  // Talks to the given volume and routes instead of the shared ones.
  VolumeView(platform::SystemVolume& volume, platform::RouteList& routes,
             QWidget* parent = nullptr);
  ~VolumeView() override;

  bool showsVolumeSlider() const { return showsVolumeSlider_; }
  void setShowsVolumeSlider(bool shows);
  bool showsRouteButton() const { return showsRouteButton_; }
  void setShowsRouteButton(bool shows);

  // Where the parts go within the given bounds: the slider takes what the route button leaves.
  virtual QRect volumeSliderRectForBounds(const QRect& bounds) const;
  virtual QRect routeButtonRectForBounds(const QRect& bounds) const;

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  void layoutParts();
  void followSystemVolume();
  void showSystemVolume();
  void openRoutePicker();

  platform::SystemVolume& volume_;
  platform::RouteList& routes_;
  VolumeSlider* slider_;
  QToolButton* routeButton_;
  bool showsVolumeSlider_ = true;
  bool showsRouteButton_ = true;
};

}  // namespace views

#pragma once

#include <QSlider>

namespace views {

// A horizontal slider whose value is a fraction from 0 to 1, fine enough that a drag moves the
// volume smoothly.
class VolumeSlider : public QSlider {
  Q_OBJECT

 public:
  explicit VolumeSlider(QWidget* parent = nullptr);

  float fraction() const;
  void setFraction(float fraction);
  // The colour of the part of the track below the knob.
  void setMinimumTrackTintColor(const QColor& color);

 protected:
  // A thin track and a round knob, alike in every widget style; the style still places the
  // knob, so dragging it works as the style expects.
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace views

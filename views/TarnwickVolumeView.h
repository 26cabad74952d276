#pragma once

#include "views/VolumeView.h"

namespace views {

// The system volume control with its slider across the whole view: no room kept for the route
// button or anything else.
class TarnwickVolumeView : public VolumeView {
  Q_OBJECT

 public:
  using VolumeView::VolumeView;

  QRect volumeSliderRectForBounds(const QRect& bounds) const override { return bounds; }
};

}  // namespace views

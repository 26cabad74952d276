#include "views/VolumeView.h"

#include <QPainter>
#include <QPainterPath>
#include <QToolButton>
#include <algorithm>

#include "foundation/NotificationCenter.h"
#include "platform/SoundServer.h"
#include "views/RoutePicker.h"
#include "views/VolumeSlider.h"

namespace views {
namespace {

// An output symbol: a screen with a wedge rising into it from below.
QIcon routeGlyph() {
  constexpr int kSize = 64;
  QPixmap glyph(kSize, kSize);
  glyph.fill(Qt::transparent);
  QPainter painter(&glyph);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(Qt::white, 5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPolyline(QPolygonF({{18, 44}, {8, 44}, {8, 10}, {56, 10}, {56, 44}, {46, 44}}));
  QPainterPath wedge;
  wedge.addPolygon(QPolygonF({{32, 32}, {48, 56}, {16, 56}}));
  painter.fillPath(wedge, Qt::white);
  return QIcon(glyph);
}

}  // namespace

VolumeView::VolumeView(QWidget* parent)
    : VolumeView(platform::SoundServer::shared().volume(), platform::SoundServer::shared().routes(),
                 parent) {}

VolumeView::VolumeView(const QRect& frame, QWidget* parent) : VolumeView(parent) {
  setGeometry(frame);
}

VolumeView::VolumeView(platform::SystemVolume& volume, platform::RouteList& routes, QWidget* parent)
    : QWidget(parent),
      volume_(volume),
      routes_(routes),
      slider_(new VolumeSlider(this)),
      routeButton_(new QToolButton(this)) {
  routeButton_->setIcon(routeGlyph());
  routeButton_->setAutoRaise(true);
  routeButton_->setToolTip(tr("Choose the output"));
  routeButton_->setAccessibleName(tr("Output"));
  slider_->setAccessibleName(tr("Volume"));
  connect(routeButton_, &QToolButton::clicked, this, &VolumeView::openRoutePicker);
  followSystemVolume();
}

VolumeView::~VolumeView() {
  foundation::NotificationCenter::defaultCenter().removeObserver(this);
}

void VolumeView::setShowsVolumeSlider(bool shows) {
  showsVolumeSlider_ = shows;
  slider_->setVisible(shows);
  layoutParts();
}

void VolumeView::setShowsRouteButton(bool shows) {
  showsRouteButton_ = shows;
  routeButton_->setVisible(shows);
  layoutParts();
}

QRect VolumeView::volumeSliderRectForBounds(const QRect& bounds) const {
  if (!showsRouteButton_)
    return bounds;
  return bounds.adjusted(0, 0, -routeButtonRectForBounds(bounds).width(), 0);
}

// A square at the trailing end, as tall as the view.
QRect VolumeView::routeButtonRectForBounds(const QRect& bounds) const {
  const int side = std::min(bounds.height(), bounds.width());
  return {bounds.right() + 1 - side, bounds.top(), side, side};
}

void VolumeView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  layoutParts();
}

void VolumeView::layoutParts() {
  slider_->setGeometry(volumeSliderRectForBounds(rect()));
  routeButton_->setGeometry(routeButtonRectForBounds(rect()));
}

// The volume's observers run on its own thread; the slider is touched on ours. A slider the
// person is dragging keeps the position they give it.
void VolumeView::followSystemVolume() {
  connect(slider_, &VolumeSlider::valueChanged, this,
          [this] { volume_.setVolume(slider_->fraction()); });
  foundation::NotificationCenter::defaultCenter().addObserver(
      std::string(platform::SystemVolume::kVolumeChangeNotification), this,
      [this](const foundation::Notification&) {
        QMetaObject::invokeMethod(this, &VolumeView::showSystemVolume, Qt::QueuedConnection);
      },
      &volume_);
  showSystemVolume();
}

void VolumeView::showSystemVolume() {
  if (slider_->isSliderDown())
    return;
  const QSignalBlocker quiet(slider_);
  slider_->setFraction(volume_.volume());
}

void VolumeView::openRoutePicker() {
  auto* picker = new RoutePicker(routes_, window());
  picker->setAttribute(Qt::WA_DeleteOnClose);
  picker->setWindowModality(Qt::WindowModal);
  picker->open();
}

}  // namespace views

#pragma once

#include <QColor>
#include <QPointF>
#include <QWidget>
#include <vector>

#include "views/WaveStroker.h"

namespace views {

// The animated voice display: concentric sine waves across the view, the first bold and opaque,
// the later ones thinner, fainter and smaller, whose height follows the level it is fed. Each
// update advances the phase so the waves travel sideways. It keeps no timer and no history:
// whoever feeds it (a display link) sets the pace.
class OndulaWaveformView : public QWidget {
  Q_OBJECT

 public:
  explicit OndulaWaveformView(QWidget* parent = nullptr);
  explicit OndulaWaveformView(const QRect& frame, QWidget* parent = nullptr);

  // Restores every default but the phase; may be called at any time.
  void setup();
  // Advances the phase by one step, takes the level (floored at idleAmplitude; NaN reads as
  // idle) as the amplitude, and schedules a repaint.
  void updateWithLevel(double level);

  // Setting a property changes nothing on screen until the next repaint.
  unsigned numberOfWaves() const { return numberOfWaves_; }
  void setNumberOfWaves(unsigned count) { numberOfWaves_ = count; }
  QColor waveColor() const { return waveColor_; }
  void setWaveColor(const QColor& color) { waveColor_ = color; }
  double primaryWaveLineWidth() const { return primaryWaveLineWidth_; }
  void setPrimaryWaveLineWidth(double width) { primaryWaveLineWidth_ = width; }
  double secondaryWaveLineWidth() const { return secondaryWaveLineWidth_; }
  void setSecondaryWaveLineWidth(double width) { secondaryWaveLineWidth_ = width; }
  double idleAmplitude() const { return idleAmplitude_; }
  void setIdleAmplitude(double amplitude) { idleAmplitude_ = amplitude; }
  double frequency() const { return frequency_; }
  void setFrequency(double frequency) { frequency_ = frequency; }
  double amplitude() const { return amplitude_; }
  void setAmplitude(double amplitude) { amplitude_ = amplitude; }
  double density() const { return density_; }
  void setDensity(double density) { density_ = density; }
  double phaseShift() const { return phaseShift_; }
  void setPhaseShift(double shift) { phaseShift_ = shift; }
  double phase() const { return phase_; }
  void setPhase(double phase) { phase_ = phase; }
  // Filled behind the waves; clear by default, so whatever lies beneath shows through.
  QColor backgroundColor() const { return backgroundColor_; }
  void setBackgroundColor(const QColor& color) { backgroundColor_ = color; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void drawWave(unsigned index);
  double strokeAlpha(double progress) const;
  void traceShape();

  unsigned numberOfWaves_ = 0;
  QColor waveColor_;
  double primaryWaveLineWidth_ = 0;
  double secondaryWaveLineWidth_ = 0;
  double idleAmplitude_ = 0;
  double frequency_ = 0;
  double amplitude_ = 0;
  double density_ = 0;
  double phaseShift_ = 0;
  double phase_ = 0;
  QColor backgroundColor_ = Qt::transparent;
  // Reused from frame to frame so painting allocates nothing once warm.
  std::vector<QPointF> shape_;
  std::vector<QPointF> vertices_;
  WaveStroker stroker_;
};

}  // namespace views

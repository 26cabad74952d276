#include "audio/PipelineBus.h"

#include "foundation/Console.h"

namespace audio {

PipelineBus::PipelineBus(GstElement* pipeline, std::string label, LevelHandler levelHandler,
                         ErrorHandler errorHandler)
    : bus_(gst_element_get_bus(pipeline)),
      label_(std::move(label)),
      levelHandler_(std::move(levelHandler)),
      errorHandler_(std::move(errorHandler)) {
  gst_bus_set_sync_handler(bus_, &PipelineBus::onMessage, this, nullptr);
}

PipelineBus::~PipelineBus() {
  gst_bus_set_sync_handler(bus_, nullptr, nullptr, nullptr);
  gst_object_unref(bus_);
}

void PipelineBus::rearm() {
  std::lock_guard lock(mutex_);
  endOfStream_ = false;
  error_.reset();
}

PipelineBus::Outcome PipelineBus::waitForEndOfStream(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, limit, [this] { return endOfStream_ || error_; })) {
    return Outcome::TimedOut;
  }
  return endOfStream_ ? Outcome::EndOfStream : Outcome::Error;
}

bool PipelineBus::hasEnded() const {
  std::lock_guard lock(mutex_);
  return endOfStream_;
}

std::optional<std::string> PipelineBus::lastError() const {
  std::lock_guard lock(mutex_);
  return error_;
}

GstBusSyncReply PipelineBus::onMessage(GstBus*, GstMessage* message, gpointer self) {
  static_cast<PipelineBus*>(self)->handle(message);
  gst_message_unref(message);
  return GST_BUS_DROP;
}

void PipelineBus::handle(GstMessage* message) {
  switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ELEMENT:
      handleLevel(gst_message_get_structure(message));
      break;
    case GST_MESSAGE_EOS: {
      std::lock_guard lock(mutex_);
      endOfStream_ = true;
      changed_.notify_all();
      break;
    }
    case GST_MESSAGE_ERROR: {
      GError* error = nullptr;
      gst_message_parse_error(message, &error, nullptr);
      std::string reason = error ? error->message : "unknown error";
      g_clear_error(&error);
      if (loggingErrors_.load())
        foundation::Console::line(label_ + " failed: " + reason);
      bool first = false;
      {
        std::lock_guard lock(mutex_);
        first = !error_;
        if (first)
          error_ = reason;
        changed_.notify_all();
      }
      if (first && errorHandler_)
        errorHandler_(reason);
      break;
    }
    default:
      break;
  }
}

void PipelineBus::handleLevel(const GstStructure* structure) {
  if (!levelHandler_ || !structure || !gst_structure_has_name(structure, "level"))
    return;
  const GValue* rms = gst_structure_get_value(structure, "rms");
  if (!rms || !G_VALUE_HOLDS_BOXED(rms))
    return;
  // The level element still reports channels as a GValueArray; its fields are read directly
  // because the accessor functions are deprecated.
  auto* channels = static_cast<GValueArray*>(g_value_get_boxed(rms));
  if (!channels || channels->n_values == 0)
    return;
  levelHandler_(g_value_get_double(&channels->values[0]));
}

}  // namespace audio

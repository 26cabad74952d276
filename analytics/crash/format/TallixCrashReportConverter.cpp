#include "analytics/crash/format/TallixCrashReportConverter.h"

#include <span>

#include "analytics/crash/format/TallixCrashReportHex.h"

namespace tallix {

namespace {

std::string text(const char* value) {
  return value ? std::string(value) : std::string();
}

template <typename T>
std::optional<T> present(protobuf_c_boolean has, T value) {
  return has ? std::optional<T>(value) : std::nullopt;
}

// The repeated field's elements that are really there.
template <typename Message>
std::span<Message* const> elements(Message* const* array, std::size_t count) {
  return array ? std::span<Message* const>(array, count) : std::span<Message* const>();
}

template <typename Value, typename Message, typename Convert>
std::vector<Value> convertAll(Message* const* array, std::size_t count, Convert convert) {
  std::vector<Value> values;
  for (const Message* element : elements(array, count))
    if (element)
      values.push_back(convert(*element));
  return values;
}

std::span<const std::uint8_t> bytes(const ProtobufCBinaryData& data) {
  return data.data ? std::span<const std::uint8_t>(data.data, data.len)
                   : std::span<const std::uint8_t>();
}

}  // namespace

TallixCrashReportContents TallixCrashReportConverter::contents(
    const Tlxcrsh__CrashReport& message) {
  TallixCrashReportContents contents;
  contents.system = system(message.system_info);
  contents.machine = machine(message.machine_info);
  contents.application = application(message.application_info);
  contents.process = process(message.process_info);
  contents.threads = convertAll<TallixCrashReportThread>(message.threads, message.n_threads,
                                                         TallixCrashReportConverter::thread);
  contents.images = convertAll<TallixCrashReportImage>(
      message.binary_images, message.n_binary_images, TallixCrashReportConverter::image);
  contents.signal = signal(message.signal);
  contents.exception = exception(message.exception);
  contents.info = info(message.report_info);
  return contents;
}

TallixCrashReportSystem TallixCrashReportConverter::system(
    const Tlxcrsh__CrashReport__SystemInfo* info) {
  if (!info)
    return {};
  const bool isLinux =
      info->operating_system == TLXCRSH__CRASH_REPORT__SYSTEM_INFO__OPERATING_SYSTEM__LINUX;
  return {isLinux ? "Linux" : "Other", text(info->os_version), text(info->os_build),
          text(info->kernel_name), info->timestamp};
}

std::optional<TallixCrashReportMachine> TallixCrashReportConverter::machine(
    const Tlxcrsh__CrashReport__MachineInfo* info) {
  if (!info)
    return std::nullopt;
  return TallixCrashReportMachine{text(info->model), processor(info->processor),
                                  info->processor_count, info->logical_processor_count};
}

TallixCrashReportProcessor TallixCrashReportConverter::processor(
    const Tlxcrsh__CrashReport__Processor* processor) {
  if (!processor)
    return {};
  using Encoding = TallixCrashReportProcessor::Encoding;
  const bool elf =
      processor->encoding == TLXCRSH__CRASH_REPORT__PROCESSOR__TYPE_ENCODING__ELF_MACHINE;
  return {elf ? Encoding::ElfMachine : Encoding::Unknown, processor->type, processor->subtype};
}

TallixCrashReportApplication TallixCrashReportConverter::application(
    const Tlxcrsh__CrashReport__ApplicationInfo* info) {
  if (!info)
    return {};
  return {text(info->identifier), text(info->version)};
}

std::optional<TallixCrashReportProcess> TallixCrashReportConverter::process(
    const Tlxcrsh__CrashReport__ProcessInfo* info) {
  if (!info)
    return std::nullopt;
  return TallixCrashReportProcess{
      text(info->process_name), info->process_id,
      text(info->process_path), text(info->parent_process_name),
      info->parent_process_id,  present(info->has_start_time, info->start_time)};
}

TallixCrashReportThread TallixCrashReportConverter::thread(
    const Tlxcrsh__CrashReport__Thread& thread) {
  TallixCrashReportThread value;
  value.number = thread.thread_number;
  value.tid = present(thread.has_thread_id, thread.thread_id);
  value.name = text(thread.name);
  value.crashed = thread.crashed;
  // Absent flags take the message's defaults: captured, not truncated.
  value.contextCaptured = !thread.has_context_captured || thread.context_captured;
  value.truncated = thread.has_truncated && thread.truncated;
  value.registers = convertAll<TallixCrashReportRegister>(
      thread.registers, thread.n_registers,
      [](const Tlxcrsh__CrashReport__Thread__RegisterValue& r) {
        return TallixCrashReportRegister{text(r.name), r.value};
      });
  value.frames = convertAll<TallixCrashReportFrame>(thread.frames, thread.n_frames,
                                                    TallixCrashReportConverter::frame);
  return value;
}

TallixCrashReportFrame TallixCrashReportConverter::frame(
    const Tlxcrsh__CrashReport__Thread__StackFrame& frame) {
  TallixCrashReportFrame value{frame.pc, std::nullopt};
  if (const auto* symbol = frame.symbol)
    value.symbol = TallixCrashReportSymbol{text(symbol->name), symbol->start_address,
                                           present(symbol->has_end_address, symbol->end_address)};
  return value;
}

TallixCrashReportImage TallixCrashReportConverter::image(
    const Tlxcrsh__CrashReport__BinaryImage& image) {
  const std::string buildId =
      image.has_build_id ? TallixCrashReportHex::bytes(bytes(image.build_id)) : std::string();
  return {image.base_address, image.size, text(image.name), buildId,
          present(image.has_load_bias, image.load_bias)};
}

std::optional<TallixCrashReportSignal> TallixCrashReportConverter::signal(
    const Tlxcrsh__CrashReport__Signal* signal) {
  if (!signal)
    return std::nullopt;
  return TallixCrashReportSignal{text(signal->name), text(signal->code), signal->address,
                                 present(signal->has_number, signal->number),
                                 present(signal->has_code_number, signal->code_number)};
}

std::optional<TallixCrashReportException> TallixCrashReportConverter::exception(
    const Tlxcrsh__CrashReport__Exception* exception) {
  if (!exception)
    return std::nullopt;
  return TallixCrashReportException{text(exception->name), text(exception->reason)};
}

TallixCrashReportInfo TallixCrashReportConverter::info(
    const Tlxcrsh__CrashReport__ReportInfo* info) {
  if (!info)
    return {};
  return {static_cast<bool>(info->user_requested), TallixCrashReportHex::uuid(bytes(info->uuid)),
          present(info->has_capture_time_ns, info->capture_time_ns),
          present(info->has_capture_duration_ns, info->capture_duration_ns)};
}

}  // namespace tallix

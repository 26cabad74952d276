#pragma once

#include <functional>
#include <optional>

#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

class TallixClock;
class TallixEventLog;
class TallixGlobalVariableStorage;
class TallixSession;
class TallixTrackedProperties;
struct TallixSessionFields;

// Turns a session into the byte record that is stored and uploaded. A few fields are taken
// afresh from the settings as the record is written and kept in the session, so a later
// archive of the session holds what was reported.
class TallixSessionRecordWriter {
 public:
  using Bytes = foundation::Value::Bytes;
  // The reachability code of the moment; none means not known (0).
  using NetworkStatusSource = std::function<int()>;
  // Whether the screen is wider than high as each record is written; none means portrait.
  using LandscapeSource = std::function<bool()>;

  TallixSessionRecordWriter(TallixGlobalVariableStorage& storage, const TallixClock& clock,
                            TallixTrackedProperties& trackedProperties,
                            NetworkStatusSource networkStatus = {},
                            LandscapeSource canvasInLandscape = {});

  // Nothing when the session's logs hold an empty slot: such a record must not be sent.
  std::optional<Bytes> data(TallixSession& session);

 private:
  void refreshFromSettings(TallixSessionFields& fields) const;
  void appendHeader(const TallixSessionFields& fields, Bytes& data) const;
  void appendLaunch(const TallixSessionFields& fields, Bytes& data) const;
  void appendParameters(const TallixSessionFields& fields, Bytes& data) const;
  void appendDevice(const TallixSessionFields& fields, Bytes& data) const;
  void appendUser(const TallixSessionFields& fields, Bytes& data) const;
  void appendEvents(const TallixEventLog& eventLog, foundation::Date sessionStart,
                    Bytes& data) const;
  void appendErrors(const TallixSessionFields& fields, Bytes& data) const;
  void appendCrashError(const TallixSessionFields& fields, Bytes& data) const;
  static void appendReserved(Bytes& data);

  TallixGlobalVariableStorage& storage_;
  const TallixClock& clock_;
  TallixTrackedProperties& trackedProperties_;
  NetworkStatusSource networkStatus_;
  LandscapeSource canvasInLandscape_;
};

}  // namespace tallix

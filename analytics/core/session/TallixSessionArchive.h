#pragma once

namespace foundation {
class KeyedArchiver;
class KeyedUnarchiver;
}  // namespace foundation

namespace tallix {

class TallixEventLog;
struct TallixSessionFields;

// The keys a session is archived under. Kept to one place: sessions written by an earlier run
// must read back field for field.
class TallixSessionArchive {
 public:
  static void encode(const TallixSessionFields& fields, const TallixEventLog& eventLog,
                     foundation::KeyedArchiver& coder);
  // False when the archive lacks the session's identity or holds a field of the wrong type.
  static bool decode(foundation::KeyedUnarchiver& coder, TallixSessionFields& fields,
                     TallixEventLog& eventLog);
};

}  // namespace tallix

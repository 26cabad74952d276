#include "platform/InputList.h"

#include "platform/ServerLink.h"

namespace platform {

std::vector<RouteListEntry> InputList::inputs() const {
  return link_.devices().inputs();
}

}  // namespace platform

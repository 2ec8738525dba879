// One function more for the library under measurement: the list request that answering an
// enumeration starts with, alone.

#include "base/Export.h"
#include "core/SsdApi.h"

/// Makes one list request; how many drives it gave, 0 if it failed.
extern "C" VEKSSD_EXPORT std::size_t benchRequestList() {
  SsdInformationList list;
  return SsdApi().getSsdInformationList(list) == SSD_SUCCESS ? list.size() : 0;
}

#include "simulator/ScsiDisk.h"

#include <cerrno>

#include "simulator/SatSense.h"
#include "simulator/SgRequest.h"

namespace simulator {

Reply ScsiDisk::answer(const DriveRequest& request, const Circumstances& circumstances) {
  switch (request.kind) {
    case RequestKind::hdioGetIdentity:
    case RequestKind::hdioDriveCmd:
      return Reply::failed(EINVAL);
    case RequestKind::sgIo: {
      const SgRequest sg(request);
      if (!sg.valid()) {
        return Reply::failed(sg.error());
      }
      if (sg.operationCode() == kAtaPassThrough16 && !circumstances.privileged) {
        return Reply::failed(EPERM);
      }
      sg.answerAsDisk("GENERIC ");
      return Reply::ok();
    }
    default:
      return Reply::failed(ENOTTY);
  }
}

}  // namespace simulator

#include "simulator/ErrnoNames.h"

#include <cerrno>

#include <array>
#include <utility>

namespace simulator {

namespace {

constexpr std::array<std::pair<int, std::string_view>, 43> kErrnoNames{{
    {EPERM, "EPERM"},
    {ENOENT, "ENOENT"},
    {EINTR, "EINTR"},
    {EIO, "EIO"},
    {ENXIO, "ENXIO"},
    {E2BIG, "E2BIG"},
    {EBADF, "EBADF"},
    {EAGAIN, "EAGAIN"},
    {ENOMEM, "ENOMEM"},
    {EACCES, "EACCES"},
    {EFAULT, "EFAULT"},
    {EBUSY, "EBUSY"},
    {EEXIST, "EEXIST"},
    {ENODEV, "ENODEV"},
    {ENOTDIR, "ENOTDIR"},
    {EISDIR, "EISDIR"},
    {EINVAL, "EINVAL"},
    {ENFILE, "ENFILE"},
    {EMFILE, "EMFILE"},
    {ENOTTY, "ENOTTY"},
    {ETXTBSY, "ETXTBSY"},
    {EFBIG, "EFBIG"},
    {ENOSPC, "ENOSPC"},
    {ESPIPE, "ESPIPE"},
    {EROFS, "EROFS"},
    {EPIPE, "EPIPE"},
    {ENAMETOOLONG, "ENAMETOOLONG"},
    {ENOSYS, "ENOSYS"},
    {ELOOP, "ELOOP"},
    {ENOMSG, "ENOMSG"},
    {EDQUOT, "EDQUOT"},
    {EOVERFLOW, "EOVERFLOW"},
    {EMSGSIZE, "EMSGSIZE"},
    {EOPNOTSUPP, "EOPNOTSUPP"},
    {ETIMEDOUT, "ETIMEDOUT"},
    {ESTALE, "ESTALE"},
    {EREMOTEIO, "EREMOTEIO"},
    {ENOMEDIUM, "ENOMEDIUM"},
    {ENOLINK, "ENOLINK"},
    {ECANCELED, "ECANCELED"},
    {ENODATA, "ENODATA"},
    {EPROTO, "EPROTO"},
    {EILSEQ, "EILSEQ"},
}};

}  // namespace

std::optional<int> errnoOf(std::string_view name) {
  for (const auto& [value, text] : kErrnoNames) {
    if (text == name) {
      return value;
    }
  }
  return std::nullopt;
}

std::string errnoName(int error) {
  for (const auto& [value, text] : kErrnoNames) {
    if (value == error) {
      return std::string(text);
    }
  }
  return std::to_string(error);
}

}  // namespace simulator

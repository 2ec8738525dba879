#pragma once

/// Issues `request` on the drive behind `fd`. True only for the result 0: the kernel answers a
/// command that the drive refused with a positive status and without `errno`, which is set here.
[[nodiscard]] bool issueDriveCommand(int fd, unsigned long request, void* argument);

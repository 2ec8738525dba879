/* cmpipl.h: the platform that CMPI is compiled for.
 *
 * Exactly one CMPI_PLATFORM_* macro names it. These headers know Linux with GCC or Clang. */
#ifndef _CMPIPL_H_
#define _CMPIPL_H_

#if !defined(CMPI_PLATFORM_LINUX_GENERIC_GNU)
#error "CMPI: define CMPI_PLATFORM_LINUX_GENERIC_GNU, the only platform these headers know"
#endif

#endif /* _CMPIPL_H_ */

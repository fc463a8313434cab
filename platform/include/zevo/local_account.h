// Changing local accounts.
#pragma once

#include "zevo/account.h"
#include "zevo/export.h"

// Results of a write of several accounts, one per account.
struct VLIBCMResult;
// A change to one account's shadow record.
struct VLIBUserShadow;

extern "C" {

// Null with the last error set on failure. Free accepts null.
ZEVO_EXPORT VLIBCMResult* VLIBCMResultAlloc(void);
ZEVO_EXPORT void VLIBCMResultFree(VLIBCMResult* result);

// Creates `count` (1) empty changes in *shadow. Negative with the last error set on failure,
// *shadow then null.
ZEVO_EXPORT int VLIBUserShadowAlloc(VLIBUserShadow** shadow, int count);
// Null is allowed.
ZEVO_EXPORT void VLIBUserShadowFree(VLIBUserShadow* shadow);
// Sets the expiry day, in days since 1 January 1970 (0 or more). Negative with the last error set
// on failure.
ZEVO_EXPORT int VLIBUserShadowExpiryDaySet(VLIBUserShadow* shadow, long days);

// Writes `count` shadow changes in one transaction: all or none; a crash leaves the old shadow file
// or the new one. 0 on success. Negative with the last error set otherwise, nothing changed:
// ZEVO_ERR_TOO_FEW_ADMINISTRATORS if the batch has a valid administrator and would leave fewer than
// the configured minimum, or has root or its alias; ZEVO_ERR_NO_SUCH_USER if a name has no line of
// its own in the shadow file. Needs effective uid 0. `result` (which may be null) receives the
// outcome of each account.
//
// Day 1 disables the account, for all of the batch or for none: the accounts' entries in Samba's
// own database are disabled with them, and the changes are recorded, so that they can be undone.
// The new shadow file is the point of no return: if a Samba entry cannot be disabled after it, the
// result is still 0, but the account's outcome is ZEVO_ERR_SYSTEM, with a note for the host; the
// same applies if memory runs out after that point. Samba's tool is tried beforehand. If memory
// runs out earlier, the result is ZEVO_ERR_OUT_OF_MEMORY and no account is changed; the record may
// then have some of them, which are listed as changed since. Nothing is thrown.
ZEVO_EXPORT int ZEVOLocalAccountUserSet(char** names, UserRecord** users, VLIBUserShadow** shadows,
                                        int count, VLIBCMResult** result);

}  // extern "C"

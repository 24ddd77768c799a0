#pragma once

/// What a test takes away from its own process. There is no way back, so only for a forked child
/// (EXPECT_EXIT).
namespace Restricted {

/// Gives up root for an ordinary user who owns nothing; does nothing for someone who isn't root. Failures
/// throw.
void becomeOrdinaryUser();

/// The kernel answers the system call `number` (SYS_...) with `error` from now on. Failures throw.
void refuseCall(long number, int error);

} // namespace Restricted

#pragma once

/// The scripted modes of the application.
namespace SelfTest {

/// Runs the real model for so long, follows the drives, and prints what happens line by line. Only in test mode;
/// returns the exit status.
int app(double seconds);

} // namespace SelfTest

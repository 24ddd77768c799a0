#pragma once

#include "selftest/Fixture.h"

/// The suites of the self-test. Each makes the world that it needs.
namespace Suites {

void isolation(const Fixture &world);
void oneDriveDetection(const Fixture &world);
void names(const Fixture &world);
void copying(const Fixture &world);
void oneDirection(const Fixture &world);
void addAndUpdate(const Fixture &world);
void driveProfile(const Fixture &world);
void appModel(const Fixture &world);

} // namespace Suites

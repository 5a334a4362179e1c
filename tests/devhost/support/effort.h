#pragma once

// How far the scenarios go that kaehost_test tries in seconds and hostile_test in minutes. Each of
// the two programs defines it.

// How many sessions are killed or get signals at random moments.
extern const int kKills;

// Whether `kaehost validate` tries each broken plug-in with all its tests.
extern const bool kHasAllTests;

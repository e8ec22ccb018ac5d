#pragma once

// Registers the embedded resources of the static resource library (icons, cover template,
// translations). Call once before any window is made.
namespace VelkorResources {
void init();
}

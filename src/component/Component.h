// The whole component: every tool in its place. A host calls `RegisterTools` once, before any
// command runs; the entry points and the classes by ProgID are those of host/Commands.h.
#pragma once

namespace orlinths {

/// Registers the dialog of every tool. A second call starts them anew.
void RegisterTools();

}  // namespace orlinths

// The processor as the tools want it after Qt has painted.
#pragma once

namespace orlinths {

/// Painting leaves values in the upper parts of the vector registers. As long as they are there,
/// x86 processors run code that uses the lower parts, as ours does, in half the speed and less;
/// nobody needs them.
void ClearUpperVectorRegisters();

}  // namespace orlinths

// The one random generator of the process and the draws that all tools share. It belongs to the
// thread of the tools and is not guarded.
#pragma once

#include <cstdint>
#include <vector>

namespace orlinths {

/// Seeds `UniformDraw` from the clock, mixed with the number of seedings before this one in the
/// process: two seedings in one tick differ, and under a fixed clock a run repeats exactly.
void SeedGenerator();

/// Makes the generator and the count of its seedings what they are in a new process. For a host
/// that replays a run, and for tests.
void ResetGenerator();

/// The next value, uniform over the 2^24 multiples of 2^-24 from 0 up to but not including 1.
/// Between seedings the sequence runs on across tools.
float UniformDraw();

/// A normal draw by the polar transform. Takes two uniform draws, or more when the first is 0.
/// Error 6 when the result is not finite.
double RandomNormal(double mean, double sd);

/// A folded draw, never negative: the root of |cos(2 pi u2)| * (-2 ln u1), the absolute value
/// inside the root. Not the absolute value of a normal draw: its square has the mean 4/pi. Callers
/// scale and shift it. Takes two uniform draws, or more when the first is 0.
double FoldedNormalDraw();

/// `count` different numbers out of 0 to `max` in random order, in the first places of a list with
/// the indices 0 to `max`. The entry at index `count` is filled too, with the smallest number left
/// over; those behind it are 0. Seeds the generator, then takes one uniform draw a number.
///
/// At each draw the first and the last of the remaining numbers (ascending) are half as likely as
/// any other. A count above max + 1 gets a message and an empty list. Error 9, after all numbers
/// have been drawn, for a count of max + 1 or below 1; at once for a `max` below 0. Yields. O(n log
/// n).
std::vector<std::int32_t> RandomSequence(std::int32_t max, std::int32_t count);

}  // namespace orlinths

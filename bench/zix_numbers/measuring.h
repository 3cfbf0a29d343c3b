// What every measurement needs: scratch files, clocks, and the line with the measured number and its limit.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "zix/zix.h"

namespace zix_numbers {

// Run with small sizes, and do not compare with limits.
extern bool quick;

// In program form, in a folder of this run's own.
std::string scratchPath(const char* name);
void removeScratchFiles();

void report(const std::string& what, const std::string& figure, const std::string& limit, bool kept);
// Whether every reported limit was kept.
bool allKept();

double secondsOf(const std::function<void()>& work);
// CPU time of this thread, so that other work of the machine is not counted. For code that never waits.
double processorSecondsOf(const std::function<void()>& work);
double median(std::vector<double> values);

// The measurements, each in a file of its own.
void measureMemory();
void measureWriting();
void measureOpening();
void measureReading();
void measureDrawing();

// Writes a scene of about this many objects: per part the eight that the converter makes. Returns how many
// were made, and the bytes of their names.
struct Made {
  std::uint64_t objects = 0;
  std::uint64_t name_bytes = 0;
};
Made writeParts(const std::string& path, std::uint64_t objects);

// Writes a scene of one mesh of about this many triangles: a closed ring with waves.
void writeRing(const std::string& path, unsigned triangles);

}  // namespace zix_numbers

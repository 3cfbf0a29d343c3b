// A scene writer that writes down every call with all its arguments, one line each:
//
//   #1 = createObject(Node)
//   setName(#1, "part")
//   setValues<float>(#4, 2: 0 0 0, 1 0 0)
//
// Objects are numbered in the order of their creation; an id that was never given out shows as "#?". Floats
// have as many digits as it takes to tell them apart, so -0, NaN and last bits show.
#pragma once

#include <string>
#include <string_view>

namespace loftbay::doubles {

// Forgets all calls and all planned failures. Numbering begins anew.
void resetScene();

// All calls since the last reset, one per line.
const std::string& sceneCalls();

enum class Throws { SceneError, Number };  // an exception with a message, or a thrown int

// Lets the `nth` call (from 1) of an operation ("saveTo", "createObject", …) throw.
void letSceneThrow(std::string_view operation, int nth = 1, Throws what = Throws::SceneError);

// The order in which scene calls (S), toolkit calls (T) and log lines (L) came, one letter each, since the
// last reset of the scene.
std::string& callOrder();

// Text of a float as in the recorded calls.
std::string exactText(float value);

}  // namespace loftbay::doubles

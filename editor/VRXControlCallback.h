// The callback every bitmap control reports value changes through:
// (control id, new value, owner given at creation). The return value is not
// used by the controls.
#pragma once

typedef bool (*VRXCONTROLCALLBACK)(int controlId, float value, void* owner);

// CPython ends a thread that asks for the lock of an ending interpreter, and so does every call of Python that gives
// the lock up in between. That unwinds the thread's stack, and the destructors on it would let go of Python objects
// without the lock. The linker (CMakeLists.txt) puts this function in the place of the one that finds what a frame has
// to do: such a thread stops at the first frame that is ours, and sleeps until the process is gone.
#include <unistd.h>
#include <unwind.h>

extern "C" {

_Unwind_Reason_Code __real___gxx_personality_v0(int version, _Unwind_Action actions, _Unwind_Exception_Class kind,
                                                _Unwind_Exception* exception, _Unwind_Context* context);

_Unwind_Reason_Code __wrap___gxx_personality_v0(int version, _Unwind_Action actions, _Unwind_Exception_Class kind,
                                                _Unwind_Exception* exception, _Unwind_Context* context) {
  if ((actions & _UA_FORCE_UNWIND) != 0) {
    for (;;) {
      ::pause();
    }
  }
  return __real___gxx_personality_v0(version, actions, kind, exception, context);
}

}  // extern "C"

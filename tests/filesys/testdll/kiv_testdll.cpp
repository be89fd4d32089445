// A tiny shared library for the loader tests: one function and one datum.
extern "C" int kivTestDllTwice(int value) { return 2 * value; }

extern "C" const char kivTestDllName[] = "kiv test library";

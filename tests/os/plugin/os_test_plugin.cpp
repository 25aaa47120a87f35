// A shared library with one exported function, for the loading tests.
extern "C" __attribute__((visibility("default"))) int osTestPlugin_answer(int question) { return question + 42; }

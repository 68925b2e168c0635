// A library that is no mapper: it lacks the entry.
extern "C" __attribute__((visibility("default"))) const int zelkcam_test_notAMapper = 5;

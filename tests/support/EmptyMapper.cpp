// A library that is no mapper: it lacks the entry.
extern "C" const int zelkcam_test_notAMapper = 5;

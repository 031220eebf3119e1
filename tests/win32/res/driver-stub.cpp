// The code of the test driver files: they are there for their resources.
extern "C" {
int vexlon_test_driver_stub = 1;
}

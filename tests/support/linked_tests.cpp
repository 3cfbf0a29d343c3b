// Nothing: the sources of the test program were compiled by another build (cmake/test-objects.cmake).

// An object library needs a source; its precompiled headers are what the tests use.

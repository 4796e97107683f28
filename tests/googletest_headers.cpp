// The precompiled headers of the test programs need a source to be built for.

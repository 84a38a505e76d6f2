// A library needs a source, and that of the precompiled headers has none of its own.

// Holds nothing: targets exist for the headers that they precompile.

// Holds nothing: the target exists for the headers that it precompiles.

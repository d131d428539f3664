// Gives the headers that all test programs share something to be compiled with.

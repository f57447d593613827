// Stands for the headers that are compiled beforehand for all test programs.

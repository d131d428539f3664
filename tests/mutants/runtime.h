// Which mutant runs: chosen by number in TSPEC_MUTANT, read once at start.
#pragma once

extern "C" int tspec_mutant;
extern "C" unsigned char *tspec_mutant_reached; // null unless places are being recorded

inline bool tspec_mutant_runs(int number)
{
    if (tspec_mutant_reached != nullptr) {
        tspec_mutant_reached[number] = 1;
    }
    return tspec_mutant == number;
}

// In a constexpr function: what the compiler works out beforehand has no mutants.
// Elsewhere this would not do, as the compiler works out initialisers too when it can.
constexpr bool tspec_mutant_runs_here(int number)
{
    if (__builtin_is_constant_evaluated()) {
        return false;
    }
    return tspec_mutant_runs(number);
}

// Ctrl-C and its kin: the command stops at the next safe point, so that nothing half-made is left behind.
#pragma once

#include "Failure.h"

#include <exception>

namespace orvex::tool {

/// An input was cut short while it was being read, maybe another one than that at hand.
class InputCut : public Failure {
public:
    using Failure::Failure;
};

/// Thrown where an interrupt was noticed.
class Interrupted : public std::exception {
public:
    explicit Interrupted(int signal) : signal_(signal) {}
    [[nodiscard]] int signal() const { return signal_; }
    [[nodiscard]] const char* what() const noexcept override { return "interrupted"; }

private:
    int signal_;
};

/// Takes note of interrupts from now on. Closed pipes and size limits become ordinary write errors.
void watchInterrupts();
/// Throws Interrupted, or InputCut: for loops, and before results are final.
void throwIfInterrupted();
/// Ends the process as the signal would have ended it.
[[noreturn]] void dieOf(const Interrupted& interrupt);

} // namespace orvex::tool

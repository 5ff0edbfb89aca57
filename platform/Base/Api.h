// The one macro of the project: what a shared library shows to those who link it.
#pragma once

/// Marks a class, function or variable as exported; everything else stays inside its library.
#define STP_API __attribute__((visibility("default")))

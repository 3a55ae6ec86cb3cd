// What the module of the test offers.
#ifndef VELMORA_TESTS_MODULES_EXCEPTION_MODULE_H
#define VELMORA_TESTS_MODULES_EXCEPTION_MODULE_H

extern "C" {

// Lets the library throw a TTT, or a Bag::Exception, through the module into the program.
using ThrowFunction = void (*)();

// Runs a callback of the program and tells what came out of it: 'T' a TTT, 'B' a Bag::Exception, '?' anything else,
// 0 nothing.
using CatchFunction = char (*)(void (*callback)());

}  // extern "C"

#endif

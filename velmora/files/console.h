// Services for a program's start and its console: printing of UTF-8, arguments as UTF-8, scopes of COM.
//
//     int main(int argc, char** argv) {
//         StringVector<char> arguments;
//         utf8args(argc, argv, arguments);
//         utf8printf("%d arguments\n", arguments.count);
//     }
//
// Printing and utf8args share work buffers without a lock that are never given back: one thread at a time. Memory that
// runs out is std::bad_alloc, with nothing printed.
#ifndef VELMORA_FILES_CONSOLE_H
#define VELMORA_FILES_CONSOLE_H

#include <cstdarg>
#include <cstdio>

#include <velmora/base.h>
#include <velmora/containers/vectors.h>

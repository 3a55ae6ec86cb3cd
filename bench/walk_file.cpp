// Walks a document with all its attributes and prints what it found, for measurements from outside.
#include <velmora/velmora.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: walk_file FILE\n", stderr);
        return 2;
    }
    long tokens = 0;
    long attributes = 0;
    long bytes = 0;
    try {
        MLDoc doc;
        doc.load(argv[1]);
        MLDoc::Token token;
        while (doc.step(token)) {
            ++tokens;
            if (!token.opening) continue;
            MLDoc::Attribute attribute;
            MLDoc::AttributeIterator next(&doc, token);
            while (next(attribute)) {
                ++attributes;
                bytes += attribute.name.len() + attribute.value.len();
            }
        }
    } catch (const TTT&) {
        std::fputs("the document is not well formed\n", stderr);
        return 1;
    }
    std::printf("%ld tokens, %ld attributes, %ld bytes in them\n", tokens, attributes, bytes);
    return 0;
}

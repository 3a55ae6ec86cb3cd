// The member of Bag that takes a document's block.
#include <velmora/markup/mldoc.h>
#include <velmora/serial/bag.h>

void Bag::stealFrom(MLDoc& doc) {
    int length;
    char* block = doc.steal(length);
    stealFrom(block, block ? length : 0);  // a document without a block may still tell a length
}

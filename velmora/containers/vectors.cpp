#include <velmora/containers/vectors.h>

// A leaf mark is an address that no node has: its own.
constinit void* RB_TREE_NIL_VOID = &RB_TREE_NIL_VOID;

template class SimpleVector<char>;
template class SimpleVector<bool>;
template class SimpleVector<char*>;
template class SimpleVector<ChPair>;
template class StructVector<ChPair>;
template class ArrayVector<char>;
template class StringVector<char>;

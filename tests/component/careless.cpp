// Compiled without care for the stack, for the check of compiled code to find.

void utUse(int *);

extern "C" __attribute__((target("sse2"))) int
utKeepVector(const int *from)
{
    using Vector = int __attribute__((vector_size(16)));
    Vector vector = {from[0], from[1], from[2], from[3]};
    utUse(reinterpret_cast<int *>(&vector));
    return vector[0];
}

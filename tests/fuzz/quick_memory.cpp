// Memory of the C++ code, which is the model and the target around it, straight
// from the C library. The sanitizer watches over the daemon's, which comes from
// calloc; what surrounds it makes many small allocations, and watching over
// those would take most of the time.
#include <cstddef>
#include <new>

extern "C" {
void *__libc_malloc(size_t size);
void __libc_free(void *block);
}

void *operator new(size_t size)
{
    void *block = __libc_malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void *operator new[](size_t size)
{
    return operator new(size);
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    return __libc_malloc(size);
}

void *operator new[](size_t size, const std::nothrow_t &) noexcept
{
    return __libc_malloc(size);
}

void operator delete(void *block) noexcept
{
    __libc_free(block);
}

void operator delete[](void *block) noexcept
{
    __libc_free(block);
}

void operator delete(void *block, size_t) noexcept
{
    __libc_free(block);
}

void operator delete[](void *block, size_t) noexcept
{
    __libc_free(block);
}

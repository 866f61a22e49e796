// flaBlockStore: storage for the many small objects a shape layer makes itself
// (strokes with their styles, colours). The first `First` objects live inside the
// store; then come blocks, each one allocation, twice as large as the one before up
// to `Largest` objects. Nothing ever moves once made, and everything is freed
// together: one allocation per block instead of one per object.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <new>
#include <utility>

template <typename T, std::size_t First, std::size_t Largest>
class flaBlockStore {
public:
    flaBlockStore() = default;
    flaBlockStore(const flaBlockStore&) = delete;
    flaBlockStore& operator=(const flaBlockStore&) = delete;
    ~flaBlockStore() { Clear(); }

    template <typename... Args>
    T& Emplace(Args&&... args) {
        if (inlineCount < First) {
            T* made = new (inlineStorage + inlineCount * sizeof(T)) T(std::forward<Args>(args)...);
            ++inlineCount;
            return *made;
        }
        if (!newest || newest->count == newest->capacity)
            AddBlock(newest ? std::min(newest->capacity * 2, Largest) : First * 2);
        T* made = new (newest->Bytes() + newest->count * sizeof(T)) T(std::forward<Args>(args)...);
        ++newest->count;
        return *made;
    }

    // True when p points into an object of the store. Consecutive questions about
    // neighbouring objects are answered from the block found last.
    bool Contains(const void* p) const {
        if (Within(p, inlineStorage, inlineCount)) return true;
        if (hit && Within(p, hit->Bytes(), hit->count)) return true;
        for (const Block* b = newest; b; b = b->older)
            if (Within(p, b->Bytes(), b->count)) {
                hit = b;
                return true;
            }
        return false;
    }

    void Clear() {
        Destroy(inlineStorage, inlineCount);
        inlineCount = 0;
        while (newest) {
            Block* b = newest;
            newest = b->older;
            Destroy(b->Bytes(), b->count);
            ::operator delete(b);
        }
        hit = nullptr;
    }

private:
    // A block's header, with its objects right behind it in the same allocation.
    struct Block {
        Block* older;
        std::size_t capacity;
        std::size_t count;

        static constexpr std::size_t Offset() { return (sizeof(Block) + alignof(T) - 1) / alignof(T) * alignof(T); }
        unsigned char* Bytes() const {
            return reinterpret_cast<unsigned char*>(const_cast<Block*>(this)) + Offset();
        }
    };
    static_assert(alignof(T) <= alignof(std::max_align_t), "blocks come from plain operator new");

    void AddBlock(std::size_t capacity) {
        void* raw = ::operator new(Block::Offset() + capacity * sizeof(T));
        newest = new (raw) Block{newest, capacity, 0};
    }
    static bool Within(const void* p, const unsigned char* bytes, std::size_t n) {
        const std::less<const void*> before;
        return !before(p, bytes) && before(p, bytes + n * sizeof(T));
    }
    static void Destroy(unsigned char* bytes, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) std::launder(reinterpret_cast<T*>(bytes + i * sizeof(T)))->~T();
    }

    alignas(T) unsigned char inlineStorage[First * sizeof(T)];
    std::size_t inlineCount = 0;
    Block* newest = nullptr;
    mutable const Block* hit = nullptr;
};

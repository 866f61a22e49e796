// UT_ShareBase / UT_SharedPtr: the host base library's intrusive reference count.
// An object derived from UT_ShareBase carries its own count; UT_SharedPtr holds one
// reference and deletes the object through its virtual destructor at the last release.
#pragma once

#include <cstddef>
#include <utility>

class UT_ShareBase {
public:
    UT_ShareBase() = default;
    // A copy is a new object: it starts without references.
    UT_ShareBase(const UT_ShareBase&) : refCount_(0) {}
    UT_ShareBase& operator=(const UT_ShareBase&) { return *this; }
    virtual ~UT_ShareBase() = default;

    void AddRef() const { ++refCount_; }
    void Release() const {
        if (--refCount_ == 0) delete this;
    }
    long RefCount() const { return refCount_; }

private:
    mutable long refCount_ = 0;
};

template <class T>
class UT_SharedPtr {
public:
    UT_SharedPtr() = default;
    UT_SharedPtr(std::nullptr_t) {}
    explicit UT_SharedPtr(T* p) : p_(p) { if (p_) p_->AddRef(); }
    UT_SharedPtr(const UT_SharedPtr& o) : p_(o.p_) { if (p_) p_->AddRef(); }
    UT_SharedPtr(UT_SharedPtr&& o) noexcept : p_(o.p_) { o.p_ = nullptr; }
    template <class U>
    UT_SharedPtr(const UT_SharedPtr<U>& o) : p_(o.get()) { if (p_) p_->AddRef(); }
    ~UT_SharedPtr() { if (p_) p_->Release(); }

    UT_SharedPtr& operator=(UT_SharedPtr o) noexcept { std::swap(p_, o.p_); return *this; }

    T* get() const { return p_; }
    T* operator->() const { return p_; }
    T& operator*() const { return *p_; }
    explicit operator bool() const { return p_ != nullptr; }
    bool operator==(const UT_SharedPtr& o) const { return p_ == o.p_; }
    bool operator!=(const UT_SharedPtr& o) const { return p_ != o.p_; }
    void reset() { UT_SharedPtr().swap(*this); }
    void swap(UT_SharedPtr& o) noexcept { std::swap(p_, o.p_); }

private:
    T* p_ = nullptr;
};

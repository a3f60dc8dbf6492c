#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "framework/include/cfirefcount.h"

namespace obzx_pdk_4_4 {

/// Pointers to ordinary objects: somebody else creates them.
template <class T>
struct CFiNullAllocator
{
    static constexpr bool CAN_CREATE = false;
};

/// Pointers to singletons: the pointer may create its object.
template <class T>
struct CFiContextSingletonAllocator
{
    static constexpr bool CAN_CREATE = true;
    static T* create() { return new T(); }
};

/**
 * Counted pointer over a CFiRefCount object. Every change of the count happens with the object's lock held.
 *
 * Lock failures never throw: errno is set; a reference that cannot be counted is not taken (the pointer stays empty),
 * one that cannot be given back is kept, so that an object is rather leaked than destroyed while somebody holds it. One
 * pointer object is used by one thread at a time; any number of pointers may share an object across threads.
 */
template <class T, class Alloc = CFiNullAllocator<T>>
class CFiSmartPtr
{
  public:
    static constexpr uint32_t NOTHING_RELEASED = 0xFFFFFFFFu;

    CFiSmartPtr() noexcept = default;
    CFiSmartPtr(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): an empty pointer reads as nullptr
    explicit CFiSmartPtr(T* object) { acquire(object); }

    /// true: holds a new default-constructed T with a count of 1; false: holds nothing.
    template <class B, class = std::enable_if_t<std::is_same_v<B, bool> && Alloc::CAN_CREATE>>
    explicit CFiSmartPtr(B create)
    {
        if (create) acquire(Alloc::create());
    }

    CFiSmartPtr(const CFiSmartPtr& other) { take(other.m_object); }
    CFiSmartPtr(CFiSmartPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    /// A pointer to a base class of the other one's.
    template <class U, template <class> class A, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    CFiSmartPtr(const CFiSmartPtr<U, A<U>>& other)  // NOLINT(google-explicit-constructor): as for raw pointers
    {
        take(other.get());
    }

    CFiSmartPtr& operator=(const CFiSmartPtr& other)
    {
        if (this != &other && m_object != other.m_object) {
            CFiSmartPtr copy(other);
            swap(copy);
        }
        return *this;
    }
    CFiSmartPtr& operator=(CFiSmartPtr&& other) noexcept
    {
        swap(other);
        return *this;
    }

    ~CFiSmartPtr() { release(); }

    /// Releases the current object, then holds the given one, which may be null.
    void acquire(T* object)
    {
        release();
        take(object);
    }

    /**
     * Gives the reference back and destroys the object with the last one. The object's count goes back to 1 before its
     * destructor runs, so that counted pointers that come and go in there do not destroy it again.
     * @return the count left; NOTHING_RELEASED for an empty pointer or when the lock failed (the pointer is then kept)
     */
    uint32_t release()
    {
        if (m_object == nullptr) return NOTHING_RELEASED;
        ACE_Thread_Mutex& lock = m_object->countLock();
        if (lock.acquire() != 0) return NOTHING_RELEASED;  // errno is set by the lock
        const int32_t left = m_object->decrement();
        if (left != 0) {
            m_object = nullptr;
            lock.release();
            return static_cast<uint32_t>(left);
        }
        m_object->increment();
        lock.release();
        delete m_object;
        m_object = nullptr;
        return 0;
    }

    void swap(CFiSmartPtr& other) noexcept { std::swap(m_object, other.m_object); }

    T* get() const noexcept { return m_object; }
    /// @throw std::logic_error when empty: a lock that failed then costs the operation, not the process
    T* operator->() const { return m_object != nullptr ? m_object : refuse(); }
    /// @throw std::logic_error when empty
    T& operator*() const { return *operator->(); }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    friend bool operator==(const CFiSmartPtr& a, const CFiSmartPtr& b) noexcept { return a.m_object == b.m_object; }
    friend bool operator==(const CFiSmartPtr& a, std::nullptr_t) noexcept { return a.m_object == nullptr; }

  private:
    [[noreturn]] static T* refuse() { throw std::logic_error("an empty counted pointer was used"); }

    void take(T* object)
    {
        if (object == nullptr) return;
        ACE_Thread_Mutex& lock = object->countLock();
        if (lock.acquire() != 0) return;  // errno is set by the lock
        object->increment();
        lock.release();
        m_object = object;
    }

    T* m_object = nullptr;
};

}  // namespace obzx_pdk_4_4

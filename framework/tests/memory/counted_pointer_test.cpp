#include <ace/Thread_Mutex.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <new>
#include <thread>
#include <vector>

#include "framework/include/cfismartptr.h"

namespace {

using namespace obzx_pdk_4_4;

int g_alive = 0;

struct SBase : virtual CFiRefCount
{
    SBase() { ++g_alive; }
    ~SBase() override { --g_alive; }
};
struct SDerived : SBase
{
};
using BasePtr = CFiSmartPtr<SBase>;
using SingletonPtr = CFiSmartPtr<SBase, CFiContextSingletonAllocator<SBase>>;

constexpr uint32_t NOTHING = 0xFFFFFFFFu;

// Makes an object's lock fail for this thread: it is replaced by one that reports being taken twice, and taken.
class CLockFailure
{
  public:
    explicit CLockFailure(CFiRefCount& object) : m_lock(object.countLock())
    {
        m_lock.~ACE_Thread_Mutex();
        ACE_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
        new (&m_lock) ACE_Thread_Mutex(nullptr, &attributes);
        pthread_mutexattr_destroy(&attributes);
        m_lock.acquire();
        errno = 0;
    }
    ~CLockFailure() { m_lock.release(); }
    CLockFailure(const CLockFailure&) = delete;
    CLockFailure& operator=(const CLockFailure&) = delete;

  private:
    ACE_Thread_Mutex& m_lock;
};

TEST(CountedPointer, EmptyOneReleasesNothing)
{
    BasePtr pointer;
    EXPECT_EQ(pointer.release(), NOTHING);
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_FALSE(pointer);
    EXPECT_TRUE(pointer == nullptr);
    BasePtr copy(pointer);
    EXPECT_EQ(copy.release(), NOTHING);
    pointer.acquire(nullptr);
    EXPECT_FALSE(pointer);
}

TEST(CountedPointer, LastReferenceDestroysTheObject)
{
    auto* object = new SBase;
    EXPECT_EQ(object->getCount(), 0);
    BasePtr first(object);
    EXPECT_EQ(object->getCount(), 1);
    BasePtr second = first;
    EXPECT_EQ(object->getCount(), 2);
    EXPECT_EQ(first.release(), 1u);
    EXPECT_FALSE(first);
    EXPECT_EQ(g_alive, 1);
    EXPECT_EQ(second.release(), 0u);
    EXPECT_FALSE(second);
    EXPECT_EQ(g_alive, 0);
}

TEST(CountedPointer, FlagTellsWhetherToCreate)
{
    SingletonPtr none(false);
    EXPECT_FALSE(none);
    SingletonPtr created(true);
    ASSERT_TRUE(created);
    EXPECT_EQ(created->getCount(), 1);
}

TEST(CountedPointer, AcquireReleasesTheFormerObject)
{
    BasePtr pointer(new SBase);
    pointer.acquire(new SBase);
    EXPECT_EQ(g_alive, 1);
    EXPECT_EQ(pointer->getCount(), 1);
    pointer.acquire(nullptr);
    EXPECT_EQ(g_alive, 0);
}

TEST(CountedPointer, AssignmentKeepsTheCountRight)
{
    BasePtr a(new SBase), b(new SBase);
    const BasePtr& self = a;
    a = self;
    EXPECT_EQ(a->getCount(), 1);
    a = b;
    EXPECT_EQ(g_alive, 1);
    EXPECT_EQ(b->getCount(), 2);
    EXPECT_TRUE(a == b);
    a = BasePtr();
    EXPECT_EQ(b->getCount(), 1);
    BasePtr moved(std::move(b));
    EXPECT_EQ(moved->getCount(), 1);
    EXPECT_FALSE(b);  // NOLINT(bugprone-use-after-move): empty is what is promised
}

TEST(CountedPointer, ConvertsToABase)
{
    CFiSmartPtr<SDerived> derived(new SDerived);
    const BasePtr base(derived);
    EXPECT_EQ(base.get(), derived.get());
    EXPECT_EQ(base->getCount(), 2);
}

struct SSelfPointing : CFiRefCount
{
    ~SSelfPointing() override
    {
        ++s_destroyed;
        CFiSmartPtr<SSelfPointing> self(this);
        s_countInside = getCount();
        s_left = self.release();
    }
    static inline int s_destroyed = 0;
    static inline int32_t s_countInside = 0;
    static inline uint32_t s_left = 0;
};

TEST(CountedPointer, PointerInsideTheDestructorDoesNotDestroyAgain)
{
    CFiSmartPtr<SSelfPointing> pointer(new SSelfPointing);
    EXPECT_EQ(pointer.release(), 0u);
    EXPECT_EQ(SSelfPointing::s_destroyed, 1);
    EXPECT_EQ(SSelfPointing::s_countInside, 2);
    EXPECT_EQ(SSelfPointing::s_left, 1u);
}

TEST(CountedPointer, ReleaseKeepsTheReferenceWhenTheLockFails)
{
    BasePtr pointer(new SBase);
    {
        const CLockFailure failure(*pointer);
        EXPECT_EQ(pointer.release(), NOTHING);
        EXPECT_EQ(errno, EDEADLK);
        EXPECT_TRUE(pointer);
        EXPECT_EQ(pointer->getCount(), 1);
        EXPECT_EQ(g_alive, 1);
    }
    EXPECT_EQ(pointer.release(), 0u);
}

TEST(CountedPointer, CopyStaysEmptyWhenTheLockFails)
{
    BasePtr pointer(new SBase);
    {
        const CLockFailure failure(*pointer);
        const BasePtr copy(pointer);
        EXPECT_EQ(errno, EDEADLK);
        EXPECT_FALSE(copy);
        BasePtr acquired;
        acquired.acquire(pointer.get());
        EXPECT_FALSE(acquired);
        EXPECT_EQ(pointer->getCount(), 1);
    }
    EXPECT_EQ(pointer.release(), 0u);
    EXPECT_EQ(g_alive, 0);
}

TEST(CountedPointer, AcquireLeaksTheFormerObjectWhenItsLockFails)
{
    auto* former = new SBase;
    BasePtr pointer(former);
    const BasePtr other(new SBase);
    {
        const CLockFailure failure(*former);
        pointer.acquire(other.get());
        EXPECT_EQ(errno, EDEADLK);
    }
    EXPECT_TRUE(pointer == other);
    EXPECT_EQ(other->getCount(), 2);
    EXPECT_EQ(former->getCount(), 1);
    EXPECT_EQ(g_alive, 2);
    former->decrement();
    BasePtr(former).release();
}

TEST(CountedPointer, AcquireHoldsNothingWhenTheNewObjectCannotBeLocked)
{
    BasePtr pointer(new SBase);
    const BasePtr other(new SBase);
    const CLockFailure failure(*other);
    pointer.acquire(other.get());
    EXPECT_FALSE(pointer);
    EXPECT_EQ(g_alive, 1);
}

TEST(CountedPointer, ThreadsShareAnObject)
{
    BasePtr shared(new SBase);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&shared] {
            for (int i = 0; i < 2000; ++i) {
                BasePtr mine(shared);
                BasePtr again = mine;
                mine.release();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared->getCount(), 1);
    EXPECT_EQ(shared.release(), 0u);
    EXPECT_EQ(g_alive, 0);
}

TEST(CountedPointer, CountIsNotBoundToAPointer)
{
    CFiRefCount object;
    object.increment();
    object.increment();
    EXPECT_EQ(object.decrement(), 1);
    EXPECT_EQ(object.getCount(), 1);
}

TEST(CountedPointer, UseOfAnEmptyOneIsAnException)
{
    const BasePtr empty;
    EXPECT_THROW(static_cast<void>(empty->getCount()), std::logic_error);
    EXPECT_THROW(static_cast<void>(*empty), std::logic_error);
}

}  // namespace

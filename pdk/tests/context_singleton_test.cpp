#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <set>
#include <stdexcept>
#include <thread>

#include "pdk/include/cficontextsingleton.h"
#include "pdk/tests/faults.h"

namespace pdktest {
namespace {

using obzx_pdk_4_4::CFiContextSingleton;
using obzx_pdk_4_4::CFiContextSingletonAllocator;
using obzx_pdk_4_4::CFiRefCount;
using obzx_pdk_4_4::CFiSmartPtr;

/// Counts its objects; each test uses a class of its own through the number.
template <int N>
class CCounted : public virtual CFiRefCount
{
  public:
    CCounted() { ++s_made; }
    ~CCounted() override { ++s_destroyed; }
    static inline std::atomic<int> s_made{0};
    static inline std::atomic<int> s_destroyed{0};
};

struct STag
{
};
struct SOtherTag
{
};

template <int N>
using CSingleton = CFiContextSingleton<CCounted<N>, STag>;

TEST(ContextSingleton, IsMadeOnFirstUseAndHeldBetweenCalls)
{
    EXPECT_EQ(CCounted<1>::s_made, 0);
    auto pointer = CSingleton<1>::instance(false);
    EXPECT_EQ(CCounted<1>::s_made, 1);
    EXPECT_EQ(pointer->getCount(), 2) << "the holder's and the caller's";
    CCounted<1>* const object = pointer.get();
    EXPECT_EQ(pointer.release(), 1u);
    EXPECT_EQ(CSingleton<1>::instance().get(), object);
    EXPECT_EQ(CCounted<1>::s_destroyed, 0);
    CSingleton<1>::instance(true);
}

TEST(ContextSingleton, DestroyEndsTheObjectAndTheNextCallMakesAFreshOne)
{
    CSingleton<2>::instance();
    EXPECT_FALSE(CSingleton<2>::instance(true));
    EXPECT_EQ(CCounted<2>::s_destroyed, 1);
    EXPECT_TRUE(CSingleton<2>::instance());
    EXPECT_EQ(CCounted<2>::s_made, 2);
    CSingleton<2>::instance(true);
}

TEST(ContextSingleton, DestroyWithoutAnObjectMakesNone)
{
    EXPECT_FALSE(CSingleton<3>::instance(true));
    EXPECT_EQ(CCounted<3>::s_made, 0);
}

TEST(ContextSingleton, DestroyedObjectLivesOnWhileSomebodyHoldsIt)
{
    auto held = CSingleton<4>::instance();
    CSingleton<4>::instance(true);
    EXPECT_EQ(CCounted<4>::s_destroyed, 0);
    EXPECT_NE(CSingleton<4>::instance().get(), held.get());
    EXPECT_EQ(held.release(), 0u);
    EXPECT_EQ(CCounted<4>::s_destroyed, 1);
    CSingleton<4>::instance(true);
}

TEST(ContextSingleton, EachTagHasAnObjectOfItsOwn)
{
    const auto one = CFiContextSingleton<CCounted<5>, STag>::instance();
    const auto other = CFiContextSingleton<CCounted<5>, SOtherTag>::instance();
    EXPECT_NE(one.get(), other.get());
    CFiContextSingleton<CCounted<5>, STag>::instance(true);
    CFiContextSingleton<CCounted<5>, SOtherTag>::instance(true);
}

TEST(ContextSingleton, FailedLockMakesAndDestroysNothing)
{
    CFaults faults;
    faults.failLock(0);
    errno = 0;
    EXPECT_FALSE(CSingleton<6>::instance());
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(CCounted<6>::s_made, 0);

    CCounted<6>* const object = CSingleton<6>::instance().get();
    faults.failLock(0);
    errno = 0;
    {
        const auto copy = CSingleton<6>::instance(true);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(copy.get(), object) << "a copy of the holder";
        EXPECT_EQ(copy->getCount(), 2);
    }
    EXPECT_EQ(CCounted<6>::s_destroyed, 0);
    CSingleton<6>::instance(true);
    EXPECT_EQ(CCounted<6>::s_destroyed, 1);
}

TEST(ContextSingleton, ReferenceThatCannotBeGivenBackIsKept)
{
    auto pointer = CSingleton<7>::instance();
    CFaults faults;
    faults.failLock(0);
    errno = 0;
    EXPECT_EQ(pointer.release(), 0xFFFFFFFFu);
    EXPECT_EQ(errno, EINVAL);
    ASSERT_TRUE(pointer);
    EXPECT_EQ(pointer->getCount(), 2);
    EXPECT_EQ(pointer.release(), 1u);
    EXPECT_EQ(pointer.release(), 0xFFFFFFFFu) << "an empty pointer";
    CSingleton<7>::instance(true);
}

/// Takes and gives back pointers to itself while it is destroyed.
class CClinging : public virtual CFiRefCount
{
  public:
    using CPointer = CFiSmartPtr<CClinging, CFiContextSingletonAllocator<CClinging>>;
    ~CClinging() override
    {
        ++s_destructions;
        for (int i = 0; i < 3; ++i) {
            const CPointer again(this);
            s_countInside = getCount();
        }
    }
    static inline int s_destructions = 0;
    static inline int s_countInside = 0;
};

TEST(ContextSingleton, PointersThatComeAndGoInTheDestructorDoNotDestroyTheObjectAgain)
{
    CFiContextSingleton<CClinging, STag>::instance();
    CFiContextSingleton<CClinging, STag>::instance(true);
    EXPECT_EQ(CClinging::s_destructions, 1);
    EXPECT_EQ(CClinging::s_countInside, 2);
}

class CFailing : public virtual CFiRefCount
{
  public:
    CFailing()
    {
        if (s_fails) throw std::runtime_error("no");
    }
    static inline bool s_fails = true;
};

TEST(ContextSingleton, FailureOfTheConstructorPassesOutAndTheNextCallTriesAgain)
{
    using CFailingSingleton = CFiContextSingleton<CFailing, STag>;
    EXPECT_THROW(CFailingSingleton::instance(), std::runtime_error);
    CFailing::s_fails = false;
    EXPECT_TRUE(CFailingSingleton::instance());
    CFailingSingleton::instance(true);
}

TEST(ContextSingleton, CreationRacedByManyThreadsMakesOneObject)
{
    constexpr int THREADS = 8;
    constexpr int ROUNDS = 200;
    for (int round = 0; round < ROUNDS; ++round) {
        const int madeBefore = CCounted<8>::s_made;
        std::vector<CCounted<8>*> seen(THREADS);
        std::latch start(THREADS);
        std::vector<std::thread> threads;
        for (size_t i = 0; i < THREADS; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                const auto pointer = CSingleton<8>::instance();
                seen[i] = pointer.get();
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(CCounted<8>::s_made, madeBefore + 1);
        EXPECT_EQ(std::set<void*>(seen.begin(), seen.end()).size(), 1u);
        CSingleton<8>::instance(true);
    }
    EXPECT_EQ(CCounted<8>::s_destroyed, ROUNDS);
}

TEST(ContextSingleton, UseRacedWithDestructionNeverSeesADeadObject)
{
    std::atomic<bool> isDone{false};
    std::vector<std::thread> users;
    for (int i = 0; i < 7; ++i) {
        users.emplace_back([&] {
            while (!isDone) {
                const auto pointer = CSingleton<9>::instance();
                ASSERT_TRUE(pointer);
            }
        });
    }
    for (int i = 0; i < 500; ++i) {
        CSingleton<9>::instance(true);
    }
    isDone = true;
    for (std::thread& user : users) {
        user.join();
    }
    CSingleton<9>::instance(true);
    EXPECT_EQ(CCounted<9>::s_made, CCounted<9>::s_destroyed);
}

TEST(CountedPointer, CreatesItsObjectOnlyWhenAskedTo)
{
    using CPointer = CFiSmartPtr<CCounted<10>, CFiContextSingletonAllocator<CCounted<10>>>;
    EXPECT_FALSE(CPointer(false));
    EXPECT_EQ(CCounted<10>::s_made, 0);
    const CPointer pointer(true);
    EXPECT_EQ(pointer->getCount(), 1);
}

}  // namespace
}  // namespace pdktest

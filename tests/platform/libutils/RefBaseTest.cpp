// SPDX-License-Identifier: Apache-2.0
#include <utils/RefBase.h>

#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace android;

namespace {

struct Left : virtual RefBase {};
struct Right : virtual RefBase {};

// Its parts have different addresses; first reference and deletion are seen from outside.
struct Whole : Left, Right {
    explicit Whole(int* sum) : mSum(sum) {}
    ~Whole() override { *mSum += 100 + slots[0] + slots[1]; }
    void onFirstRef() override { *mSum += getStrongCount(); }
    int slots[2] = {};
    int* const mSum;
    sp<Whole> next;
};

}  // namespace

TEST(StrongPointer, ConvertsToBasesAndCountsOnce) {
    int sum = 0;
    sp<Whole> whole = new Whole(&sum);
    sp<Left> left = whole;
    sp<Right> right;
    right = whole.get();
    const sp<RefBase> base(right);
    EXPECT_EQ(4, whole->getStrongCount());
    EXPECT_TRUE(left == base && whole == left && base == whole.get() && whole != nullptr);
    sp<Left> moved = std::move(whole);
    left = moved;
    moved = *&moved;
    EXPECT_TRUE(whole == nullptr && moved->getStrongCount() == 4);
    right.clear();
    left = nullptr;
    EXPECT_TRUE(moved->getStrongCount() == 2 && sum == 1);
}

TEST(StrongPointer, AssignsWhatOnlyTheOldObjectHolds) {
    int first = 0, second = 0;
    sp<Whole> list = new Whole(&first);
    list->next = new Whole(&second);
    list = list->next;
    EXPECT_TRUE(first == 101 && second == 1 && list->getStrongCount() == 1);
}

TEST(RefBase, LastOfManyThreadsDeletesOnceAndSeesAllWrites) {
    int sum = 0;
    sp<Whole> shared = new Whole(&sum);
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([t, own = shared]() mutable {
            for (int i = 0; i < 20000; ++i) {
                const sp<RefBase> another = own;
                own->slots[t] += t + 1;
            }
            own.clear();
        });
    }
    shared.clear();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(1 + 100 + (1 + 2) * 20000, sum);
}

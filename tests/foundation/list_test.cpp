#include <gtest/gtest.h>

#include <vector>

#include "foundation/list.h"

namespace {

struct Node : LListLink<Node> {
    explicit Node(int v, int* deaths = nullptr) : value(v), deaths(deaths) {}
    ~Node() {
        if (deaths)
            ++*deaths;
    }
    int value;
    int* deaths;
};

std::vector<int> Values(const LList<Node>& list) {
    std::vector<int> out;
    for (const Node& n : list)
        out.push_back(n.value);
    return out;
}

TEST(LList, KeepsStackingOrderThroughEveryInsertion) {
    LList<Node> list;
    Node* a = new Node(1);
    Node* c = new Node(3);
    list.PushBack(a);
    list.PushBack(c);
    list.InsertAfter(new Node(2), a);
    list.PushFront(new Node(0));
    list.InsertAt(new Node(9), 100); // index not reached: the end
    list.InsertAt(new Node(5), 2);
    EXPECT_EQ(Values(list), (std::vector<int>{0, 1, 5, 2, 3, 9}));
    EXPECT_EQ(list.GetCount(), 6u);
    EXPECT_EQ(list.GetLast()->value, 9);
}

TEST(LList, InsertAfterAnAbsentMemberAppends) {
    LList<Node> list;
    list.PushBack(new Node(1));
    Node outsider(7);
    list.InsertAfter(new Node(2), &outsider);
    list.InsertAfter(new Node(0), nullptr);
    EXPECT_EQ(Values(list), (std::vector<int>{0, 1, 2}));
}

TEST(LList, RemovalGivesThePredecessorAndKeepsEndsRight) {
    LList<Node> list;
    Node* n[4];
    for (int i = 0; i < 4; ++i)
        list.PushBack(n[i] = new Node(i));

    Node* before = reinterpret_cast<Node*>(1);
    EXPECT_EQ(list.RemoveIfMember(n[2], &before), n[2]);
    EXPECT_EQ(before, n[1]);
    delete n[2];
    EXPECT_EQ(list.RemoveIfMember(n[0], &before), n[0]);
    EXPECT_EQ(before, nullptr);
    delete n[0];
    EXPECT_EQ(list.RemoveIfMember(n[3], &before), n[3]);
    EXPECT_EQ(before, n[1]);
    delete n[3];
    EXPECT_EQ(list.GetFirst(), n[1]);
    EXPECT_EQ(list.GetLast(), n[1]);

    Node outsider(9);
    EXPECT_EQ(list.RemoveIfMember(&outsider), nullptr);
    EXPECT_EQ(list.GetCount(), 1u);
    list.PushBack(new Node(4));
    EXPECT_EQ(Values(list), (std::vector<int>{1, 4}));
}

TEST(LList, MembershipIsIdentityNotValue) {
    LList<Node> a, b;
    Node* x = new Node(1);
    a.PushBack(x);
    Node twin(1);
    EXPECT_TRUE(a.Contains(x));
    EXPECT_TRUE(a.Owns(x));
    EXPECT_FALSE(a.Contains(&twin));
    EXPECT_FALSE(b.Contains(x));
    EXPECT_FALSE(b.Owns(x));
    EXPECT_EQ(b.Remove(x), nullptr);
}

TEST(LList, OwnsItsMembersAndMovesThem) {
    int deaths = 0;
    {
        LList<Node> a;
        a.PushBack(new Node(1, &deaths));
        a.PushBack(new Node(2, &deaths));
        LList<Node> b;
        b.PushBack(new Node(0, &deaths));
        b.AppendAll(a);
        EXPECT_TRUE(a.IsEmpty());
        EXPECT_EQ(Values(b), (std::vector<int>{0, 1, 2}));
        LList<Node> c(std::move(b));
        EXPECT_TRUE(c.Owns(c.GetFirst()));
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 3);
}

TEST(LList, CopiedMembersAreUnlinked) {
    LList<Node> list;
    list.PushBack(new Node(1));
    list.PushBack(new Node(2));
    Node copy(*list.GetFirst());
    EXPECT_EQ(copy.GetNext(), nullptr);
    EXPECT_FALSE(list.Owns(&copy));
}

} // namespace

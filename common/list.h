#pragma once

#include <cstdlib>
#include <cstring>

// Circular doubly linked lists behind a head. Any node with prev and next will do, whatever their order in memory.

template <class Node> void list_init(Node* head)
{
    head->next = head;
    head->prev = head;
}

template <class Node> void list_insert(Node* node, Node* before)
{
    node->next = before;
    node->prev = before->prev;
    before->prev->next = node;
    before->prev = node;
}

template <class Node> void list_remove(Node* node)
{
    node->next->prev = node->prev;
    node->prev->next = node->next;
}

// A node of which nothing is set yet; null without memory. Whoever gets it releases it with free().
template <class Node> Node* allocate_node()
{
    return static_cast<Node*>(malloc(sizeof(Node)));
}

// A zeroed node, its links not set; null without memory. Whoever gets it releases it with free().
template <class Node> Node* create_node()
{
    Node* node = allocate_node<Node>();
    if (node != nullptr)
        memset(static_cast<void*>(node), 0, sizeof(Node));
    return node;
}

// The head of an empty list, zero but for its links; null without memory.
template <class Node> Node* create_list()
{
    Node* head = create_node<Node>();
    if (head != nullptr)
        list_init(head);
    return head;
}

#pragma once

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

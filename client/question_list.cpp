#include "client/question_list.h"

#include "client/console_writer.h"
#include "runtime/crt.h"

FormTree::~FormTree() {
  for (UINT32 Position = 0; Position < Total; ++Position) crt::free(Nodes[Position].Title);
  crt::free(Nodes);
  crt::free(Order);
}

BOOLEAN BIOSCFG_EFIAPI FormTree::KeepForm(VOID *Self, CONST BIOS_CONFIG_QUESTION *Question) {
  auto &Tree = *static_cast<FormTree *>(Self);
  if (Question->OpCode != FORM_OPCODE) return TRUE;
  if (Tree.Total == Tree.Capacity) {
    const UINT32 Grown = Tree.Capacity == 0 ? 32 : 2 * Tree.Capacity;
    auto *Larger = static_cast<FormNode *>(crt::realloc(Tree.Nodes, Grown * sizeof(FormNode)));
    if (Larger == nullptr) {
      Tree.Failed = true;
      return FALSE;
    }
    Tree.Nodes = Larger;
    Tree.Capacity = Grown;
  }
  FormNode &Node = Tree.Nodes[Tree.Total++];
  Node = FormNode{Question->Index, Question->FormId, Question->ParentFormId, NO_PARENT, 0, nullptr};
  if (Question->Prompt != nullptr) {
    const UINT32 Length = WideLength(Question->Prompt);
    Node.Title = static_cast<CHAR16 *>(crt::malloc((Length + 1) * sizeof(CHAR16)));
    if (Node.Title == nullptr) {
      Tree.Failed = true;
      return FALSE;
    }
    crt::memcpy(Node.Title, Question->Prompt, (Length + 1) * sizeof(CHAR16));
  }
  return TRUE;
}

void FormTree::Arrange() {
  // Each form's node above it: the first form of the parent's id.
  for (UINT32 Position = 0; Position < Total; ++Position) {
    FormNode &Node = Nodes[Position];
    if (Node.ParentFormId == 0 || Node.ParentFormId == Node.FormId) continue;
    for (UINT32 Other = 0; Other < Total; ++Other) {
      if (Other != Position && Nodes[Other].FormId == Node.ParentFormId) {
        Node.Parent = Other;
        break;
      }
    }
  }
  // A form whose chain of parents loops (firmware data) goes to the top.
  for (UINT32 Position = 0; Position < Total; ++Position) {
    UINT32 Steps = 0;
    for (UINT32 Up = Nodes[Position].Parent; Up != NO_PARENT; Up = Nodes[Up].Parent) {
      if (++Steps > Total) {
        Nodes[Position].Parent = NO_PARENT;
        break;
      }
    }
  }
  // Depth-first, children in list order, without recursion: each step
  // takes the next form whose parent is already placed, nearest first.
  UINT32 Placed = 0;
  auto *Done = static_cast<bool *>(crt::calloc(Total == 0 ? 1 : Total, sizeof(bool)));
  if (Done == nullptr) {
    for (UINT32 Position = 0; Position < Total; ++Position) Order[Position] = Position;
    return;
  }
  auto PlaceBelow = [&](UINT32 Root) {
    // Root, then its descendants, depth first.
    UINT32 Current = Root;
    Done[Current] = true;
    Nodes[Current].Depth = Nodes[Current].Parent == NO_PARENT ? 0 : Nodes[Nodes[Current].Parent].Depth + 1;
    Order[Placed++] = Current;
    while (true) {
      UINT32 Child = NO_PARENT;
      for (UINT32 Position = 0; Position < Total && Child == NO_PARENT; ++Position) {
        if (!Done[Position] && Nodes[Position].Parent == Current) Child = Position;
      }
      if (Child != NO_PARENT) {
        Done[Child] = true;
        Nodes[Child].Depth = Nodes[Current].Depth + 1;
        Order[Placed++] = Child;
        Current = Child;
        continue;
      }
      if (Current == Root) return;
      Current = Nodes[Current].Parent;
    }
  };
  for (UINT32 Position = 0; Position < Total; ++Position) {
    if (!Done[Position] && Nodes[Position].Parent == NO_PARENT) PlaceBelow(Position);
  }
  crt::free(Done);
}

EFI_STATUS FormTree::Read(BIOS_CONFIG_EXTENSIONS_PROTOCOL *Extensions) {
  const EFI_STATUS Status = Extensions->EnumerateQuestions(Extensions, 0, KeepForm, this);
  if (Status != EFI_SUCCESS) return Status;
  if (Failed) return EFI_OUT_OF_RESOURCES;
  Order = static_cast<UINT32 *>(crt::malloc((Total == 0 ? 1 : Total) * sizeof(UINT32)));
  if (Order == nullptr) return EFI_OUT_OF_RESOURCES;
  Arrange();
  return EFI_SUCCESS;
}

namespace {

struct FormWalk {
  UINT32 FormIndex;
  BIOS_CONFIG_QUESTION_CALLBACK Visit;
  VOID *Context;
};

BOOLEAN BIOSCFG_EFIAPI UntilNextForm(VOID *Self, CONST BIOS_CONFIG_QUESTION *Question) {
  auto &Walk = *static_cast<FormWalk *>(Self);
  if (Question->Index == Walk.FormIndex) return TRUE;
  if (Question->OpCode == FORM_OPCODE) return FALSE;
  return Walk.Visit(Walk.Context, Question);
}

}  // namespace

EFI_STATUS FormTree::EachQuestion(BIOS_CONFIG_EXTENSIONS_PROTOCOL *Extensions, UINT32 Position,
                                  BIOS_CONFIG_QUESTION_CALLBACK Visit, VOID *Context) const {
  FormWalk Walk{Nodes[Position].Index, Visit, Context};
  return Extensions->EnumerateQuestions(Extensions, Nodes[Position].Index, UntilNextForm, &Walk);
}

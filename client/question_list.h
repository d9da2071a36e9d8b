// The driver's question list as the views read it, through the second
// protocol's EnumerateQuestions: the forms first (each with where it lies in
// the list and which form leads to it), then the records of one form at a
// time, so a list of any size needs no more than one form's worth of memory.
#pragma once

#include "bioscfg_protocol.h"
#include "runtime/owned.h"

struct FormNode {
  UINT32 Index;      // of the form record in the list
  UINT16 FormId;
  UINT16 ParentFormId;
  UINT32 Parent;     // index into the forms of the node above, or NO_PARENT
  UINT32 Depth;
  CHAR16 *Title;     // owned copy; nullptr when none
};
constexpr UINT32 NO_PARENT = 0xFFFFFFFFu;
// BIOS_CONFIG_QUESTION.OpCode of a form record.
constexpr UINT8 FORM_OPCODE = 0x01;

class FormTree {
 public:
  FormTree() = default;
  ~FormTree();
  FormTree(const FormTree &) = delete;
  FormTree &operator=(const FormTree &) = delete;

  // Reads the forms. EFI_SUCCESS, EnumerateQuestions' status, or
  // EFI_OUT_OF_RESOURCES.
  [[nodiscard]] EFI_STATUS Read(BIOS_CONFIG_EXTENSIONS_PROTOCOL *Extensions);

  UINT32 Count() const { return Total; }
  const FormNode &Form(UINT32 Position) const { return Nodes[Position]; }
  // The forms in the order a tree shows them: each after the form whose
  // reference leads to it (nesting by the IFR's references), else in list
  // order at the top. A form that loops back through its own references is
  // shown at the top.
  UINT32 Shown(UINT32 Step) const { return Order[Step]; }

  // Calls Visit for every record of the form at Position (its questions,
  // not the form record itself), in list order.
  [[nodiscard]] EFI_STATUS EachQuestion(BIOS_CONFIG_EXTENSIONS_PROTOCOL *Extensions, UINT32 Position,
                                        BIOS_CONFIG_QUESTION_CALLBACK Visit, VOID *Context) const;

 private:
  static BOOLEAN BIOSCFG_EFIAPI KeepForm(VOID *Self, CONST BIOS_CONFIG_QUESTION *Question);
  void Arrange();

  FormNode *Nodes = nullptr;
  UINT32 *Order = nullptr;
  UINT32 Total = 0;
  UINT32 Capacity = 0;
  bool Failed = false;
};

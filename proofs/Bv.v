(** What the bit-vector operators of SMT-LIB mean: the theory FixedSizeBitVectors (version 2.6 of the standard) and the
    abbreviations of the logic QF_BV, in their order and with their letters: [s] and [t] are bit-vectors, [m] is the width
    of [s], [i], [j] and [n] are numerals. *)

From Coq Require Import ZArith Bool.
Local Open Scope Z_scope.

(** ** Values

    The standard's bit-vector of m bits is a function from [0, m) to {0, 1}. Here it is m and the number which that
    function writes in binary, [bv2nat]; bit [i] of it is [bit i]. [nat2bv m n] is the bit-vector of width m for n modulo
    2^m. *)

Record bv := make_bv { width : Z; bv2nat : Z }.

Definition nat2bv (m n : Z) : bv := make_bv m (n mod 2 ^ m).
Definition bit (i : Z) (s : bv) : bool := Z.testbit (bv2nat s) i.
Definition nat_of_bit (b : bool) : Z := if b then 1 else 0.

(** ** Concatenation and extraction *)

Definition concat (s t : bv) : bv := make_bv (width s + width t) (bv2nat s * 2 ^ width t + bv2nat t).
Definition extract (i j : Z) (s : bv) : bv := nat2bv (i - j + 1) (bv2nat s / 2 ^ j).

(** ** Bitwise *)

Definition bvnot (s : bv) : bv := nat2bv (width s) (Z.lnot (bv2nat s)).
Definition bvand (s t : bv) : bv := nat2bv (width s) (Z.land (bv2nat s) (bv2nat t)).
Definition bvor (s t : bv) : bv := nat2bv (width s) (Z.lor (bv2nat s) (bv2nat t)).
Definition bvxor (s t : bv) : bv := nat2bv (width s) (Z.lxor (bv2nat s) (bv2nat t)).
Definition bvnand (s t : bv) : bv := bvnot (bvand s t).
Definition bvnor (s t : bv) : bv := bvnot (bvor s t).
Definition bvxnor (s t : bv) : bv := bvor (bvand s t) (bvand (bvnot s) (bvnot t)).

(** ** Arithmetic. By zero, the quotient is all ones and the remainder the dividend. *)

Definition bvneg (s : bv) : bv := nat2bv (width s) (2 ^ width s - bv2nat s).
Definition bvadd (s t : bv) : bv := nat2bv (width s) (bv2nat s + bv2nat t).
Definition bvsub (s t : bv) : bv := bvadd s (bvneg t).
Definition bvmul (s t : bv) : bv := nat2bv (width s) (bv2nat s * bv2nat t).
Definition bvudiv (s t : bv) : bv :=
  if bv2nat t =? 0 then nat2bv (width s) (2 ^ width s - 1) else nat2bv (width s) (bv2nat s / bv2nat t).
Definition bvurem (s t : bv) : bv :=
  if bv2nat t =? 0 then s else nat2bv (width s) (bv2nat s mod bv2nat t).

(** The standard's [?msb_s] is #b1. *)
Definition negative (s : bv) : bool := bit (width s - 1) s.

Definition bvsdiv (s t : bv) : bv :=
  match negative s, negative t with
  | false, false => bvudiv s t
  | true, false => bvneg (bvudiv (bvneg s) t)
  | false, true => bvneg (bvudiv s (bvneg t))
  | true, true => bvudiv (bvneg s) (bvneg t)
  end.
Definition bvsrem (s t : bv) : bv :=
  match negative s, negative t with
  | false, false => bvurem s t
  | true, false => bvneg (bvurem (bvneg s) t)
  | false, true => bvurem s (bvneg t)
  | true, true => bvneg (bvurem (bvneg s) (bvneg t))
  end.
Definition bvsmod (s t : bv) : bv :=
  let abs_s := if negative s then bvneg s else s in
  let abs_t := if negative t then bvneg t else t in
  let u := bvurem abs_s abs_t in
  if bv2nat u =? 0 then u else
  match negative s, negative t with
  | false, false => u
  | true, false => bvadd (bvneg u) t
  | false, true => bvadd u t
  | true, true => bvneg u
  end.

(** ** Shifts: the amount is an unsigned number of any size *)

Definition bvshl (s t : bv) : bv := nat2bv (width s) (bv2nat s * 2 ^ bv2nat t).
Definition bvlshr (s t : bv) : bv := nat2bv (width s) (bv2nat s / 2 ^ bv2nat t).
Definition bvashr (s t : bv) : bv := if negative s then bvnot (bvlshr (bvnot s) t) else bvlshr s t.

(** ** Repetition, extension, rotation: the standard gives one step and repeats it. [repeat] is for 1 and more. *)

Definition repeat (i : Z) (t : bv) : bv := Z.iter (i - 1) (concat t) t.
Definition zero_extend (i : Z) (t : bv) : bv := if i =? 0 then t else concat (repeat i (make_bv 1 0)) t.
Definition sign_extend (i : Z) (t : bv) : bv :=
  if i =? 0 then t else concat (repeat i (extract (width t - 1) (width t - 1) t)) t.
Definition rotate_left_once (t : bv) : bv :=
  if width t =? 1 then t else concat (extract (width t - 2) 0 t) (extract (width t - 1) (width t - 1) t).
Definition rotate_right_once (t : bv) : bv :=
  if width t =? 1 then t else concat (extract 0 0 t) (extract (width t - 1) 1 t).
Definition rotate_left (i : Z) (t : bv) : bv := Z.iter i rotate_left_once t.
Definition rotate_right (i : Z) (t : bv) : bv := Z.iter i rotate_right_once t.

(** ** Comparisons *)

Definition bveq (s t : bv) : bool := bv2nat s =? bv2nat t.
Definition bvcomp (s t : bv) : bv := make_bv 1 (nat_of_bit (bveq s t)).
Definition bvult (s t : bv) : bool := bv2nat s <? bv2nat t.
Definition bvule (s t : bv) : bool := bvult s t || bveq s t.
Definition bvugt (s t : bv) : bool := bvult t s.
Definition bvuge (s t : bv) : bool := bvule t s.
Definition bvslt (s t : bv) : bool :=
  negative s && negb (negative t) || Bool.eqb (negative s) (negative t) && bvult s t.
Definition bvsle (s t : bv) : bool :=
  negative s && negb (negative t) || Bool.eqb (negative s) (negative t) && bvule s t.
Definition bvsgt (s t : bv) : bool := bvslt t s.
Definition bvsge (s t : bv) : bool := bvsle t s.

(** ** If-then-else, of any sort *)

Definition ite {A : Type} (p : bool) (s t : A) : A := if p then s else t.

(** ** Sorts

    Widths and integers of a rule are machine words: unsigned numbers of 64 bits. *)

Definition word : Z := 2 ^ 64.
Definition is_bv (s : bv) : Prop := 0 < width s < word /\ 0 <= bv2nat s < 2 ^ width s.
Definition is_index (i : Z) : Prop := 0 <= i < word.

(** When an application has a sort. Of the other operators, arguments have any width. *)
Definition same_width (s t : bv) : Prop := width s = width t.
Definition can_concat (s t : bv) : Prop := width s + width t < word.
Definition can_extract (i j : Z) (s : bv) : Prop := 0 <= j <= i /\ i < width s.
Definition can_extend (i : Z) (s : bv) : Prop := 0 <= i /\ width s + i < word.

(** ** What the rule language says besides

    Sums and differences of integers wrap around. A literal is a number, or -1 for all ones. *)

Definition word_add (i j : Z) : Z := (i + j) mod word.
Definition word_sub (i j : Z) : Z := (i - j) mod word.
Definition literal (n m : Z) : bv := nat2bv m n.
Definition has_value (s : bv) (n : Z) : Prop := bv2nat s = n.
Definition all_ones (s : bv) : Prop := bv2nat s = 2 ^ width s - 1.

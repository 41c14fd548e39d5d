(** The operators of Bv.v as tables, to be compared with those of the reference evaluator. *)

From Coq Require Import ZArith List.
From Quarv Require Import Bv.
Import ListNotations.
Local Open Scope Z_scope.

(** The numbers from 0 to n - 1. *)
Definition below (n : Z) : list Z := map Z.of_nat (seq 0 (Z.to_nat n)).

(** All bit-vectors of a width. *)
Definition all (m : Z) : list bv := map (make_bv m) (below (2 ^ m)).

Definition shown (s : bv) : Z * Z := (width s, bv2nat s).
Definition truth (b : bool) : Z * Z := (0, nat_of_bit b).

Definition unary (f : bv -> bv) (m : Z) : list (Z * Z) := map (fun s => shown (f s)) (all m).
Definition binary (f : bv -> bv -> bv) (m n : Z) : list (Z * Z) :=
  flat_map (fun s => map (fun t => shown (f s t)) (all n)) (all m).
Definition predicate (f : bv -> bv -> bool) (m : Z) : list (Z * Z) :=
  flat_map (fun s => map (fun t => truth (f s t)) (all m)) (all m).

(* Written by rule_theorems. *)
From Coq Require Import ZArith Bool.
From Quarv Require Import Bv.
Local Open Scope Z_scope.

(** Rule 1: rewrite(bvadd(t, t_0), identity(t, t_0), (size(t) > 1)) >> bvmul(2, t) *)
Definition applies_1 (t t_0 : bv) : Prop :=
  is_bv t /\
  is_bv t_0 /\
  same_width t t_0 /\
  t = t_0 /\
  (width t) > 1.
Definition rule_1 (t t_0 : bv) : Prop :=
  applies_1 t t_0 ->
  same_width (literal 2 (width t)) t /\
  (bvadd t t_0) = (bvmul (literal 2 (width t)) t).
Definition holds_1 : Prop := forall (t t_0 : bv), rule_1 t t_0.
Definition holds_1_where (also : bv -> bv -> Prop) : Prop := forall (t t_0 : bv), also t t_0 -> rule_1 t t_0.
Definition never_1 : Prop := forall (t t_0 : bv), ~ applies_1 t t_0.

(** Rule 2: rewrite(bvmul(t1, t2), ~const(t2), pow2(t1, n)) >> bvlshl(t2, n) *)
Definition applies_2 (t1 t2 : bv) (n : Z) : Prop :=
  is_bv t1 /\
  is_bv t2 /\
  is_index n /\
  same_width t1 t2 /\
  has_value t1 (2 ^ n).
Definition rule_2 (t1 t2 : bv) (n : Z) : Prop :=
  applies_2 t1 t2 n ->
  same_width t2 (literal n (width t2)) /\
  (bvmul t1 t2) = (bvshl t2 (literal n (width t2))).
Definition holds_2 : Prop := forall (t1 t2 : bv) (n : Z), rule_2 t1 t2 n.
Definition holds_2_where (also : bv -> bv -> Z -> Prop) : Prop := forall (t1 t2 : bv) (n : Z), also t1 t2 n -> rule_2 t1 t2 n.
Definition never_2 : Prop := forall (t1 t2 : bv) (n : Z), ~ applies_2 t1 t2 n.

(** Rule 3: rewrite(bvashr(bvashr(t, c1), c2), const(c1), const(c2), fits(size(t), _c1 + c2_)) >> bvashr(t, bvadd(c1, c2)) *)
Definition applies_3 (t c1 c2 : bv) : Prop :=
  is_bv t /\
  is_bv c1 /\
  is_bv c2 /\
  same_width t c1 /\
  same_width (bvashr t c1) c2 /\
  (bv2nat c1) + (bv2nat c2) < 2 ^ width t.
Definition rule_3 (t c1 c2 : bv) : Prop :=
  applies_3 t c1 c2 ->
  same_width c1 c2 /\
  same_width t (bvadd c1 c2) /\
  (bvashr (bvashr t c1) c2) = (bvashr t (bvadd c1 c2)).
Definition holds_3 : Prop := forall (t c1 c2 : bv), rule_3 t c1 c2.
Definition holds_3_where (also : bv -> bv -> bv -> Prop) : Prop := forall (t c1 c2 : bv), also t c1 c2 -> rule_3 t c1 c2.
Definition never_3 : Prop := forall (t c1 c2 : bv), ~ applies_3 t c1 c2.

(** Rule 4: rewrite(extract(m, l, concat(t1, t2)), (size(t2) <= m), (l < size(t2)), w2=_size(t2) - 1_, w1=_m - size(t2)_) >> concat(extract(w1, n_5, t1), extract(w2, l, t2)) *)
Definition applies_4 (t1 t2 : bv) (m l : Z) : Prop :=
  is_bv t1 /\
  is_bv t2 /\
  is_index m /\
  is_index l /\
  can_concat t1 t2 /\
  can_extract m l (concat t1 t2) /\
  (width t2) <= m /\
  l < (width t2).
Definition rule_4 (t1 t2 : bv) (m l : Z) : Prop :=
  applies_4 t1 t2 m l ->
  can_extract (word_sub m (width t2)) 0 t1 /\
  can_extract (word_sub (width t2) 1) l t2 /\
  can_concat (extract (word_sub m (width t2)) 0 t1) (extract (word_sub (width t2) 1) l t2) /\
  (extract m l (concat t1 t2)) = (concat (extract (word_sub m (width t2)) 0 t1) (extract (word_sub (width t2) 1) l t2)).
Definition holds_4 : Prop := forall (t1 t2 : bv) (m l : Z), rule_4 t1 t2 m l.
Definition holds_4_where (also : bv -> bv -> Z -> Z -> Prop) : Prop := forall (t1 t2 : bv) (m l : Z), also t1 t2 m l -> rule_4 t1 t2 m l.
Definition never_4 : Prop := forall (t1 t2 : bv) (m l : Z), ~ applies_4 t1 t2 m l.

(** Rule 5: rewrite((zext(n, width) == t2), (t2 == -1), (t2 > 0), (n != 0)) >> false *)
Definition applies_5 (width' t2 : bv) (n : Z) : Prop :=
  is_bv width' /\
  is_bv t2 /\
  is_index n /\
  can_extend n width' /\
  same_width (zero_extend n width') t2 /\
  all_ones t2 /\
  (bv2nat t2) > 0 /\
  n <> 0.
Definition rule_5 (width' t2 : bv) (n : Z) : Prop :=
  applies_5 width' t2 n ->
  (bveq (zero_extend n width') t2) = false.
Definition holds_5 : Prop := forall (width' t2 : bv) (n : Z), rule_5 width' t2 n.
Definition holds_5_where (also : bv -> bv -> Z -> Prop) : Prop := forall (width' t2 : bv) (n : Z), also width' t2 n -> rule_5 width' t2 n.
Definition never_5 : Prop := forall (width' t2 : bv) (n : Z), ~ applies_5 width' t2 n.

(** Rule 6: rewrite(bvslt(-1, bvsub(0, bvror(in, t))), (0 == 0)) >> ~((bvcomp(t, -1) == 1)) *)
Definition applies_6 (ones' c0' t : bv) (in' : Z) : Prop :=
  is_bv ones' /\
  is_bv c0' /\
  is_bv t /\
  is_index in' /\
  same_width c0' (rotate_right in' t) /\
  same_width ones' (bvsub c0' (rotate_right in' t)) /\
  all_ones ones' /\
  has_value c0' 0.
Definition rule_6 (ones' c0' t : bv) (in' : Z) : Prop :=
  applies_6 ones' c0' t in' ->
  same_width t (literal (-1) (width t)) /\
  same_width (bvcomp t (literal (-1) (width t))) (literal 1 (width (bvcomp t (literal (-1) (width t))))) /\
  (bvslt ones' (bvsub c0' (rotate_right in' t))) = (negb (bveq (bvcomp t (literal (-1) (width t))) (literal 1 (width (bvcomp t (literal (-1) (width t))))))).
Definition holds_6 : Prop := forall (ones' c0' t : bv) (in' : Z), rule_6 ones' c0' t in'.
Definition holds_6_where (also : bv -> bv -> bv -> Z -> Prop) : Prop := forall (ones' c0' t : bv) (in' : Z), also ones' c0' t in' -> rule_6 ones' c0' t in'.
Definition never_6 : Prop := forall (ones' c0' t : bv) (in' : Z), ~ applies_6 ones' c0' t in'.

(** Rule 7: unordered((bvadd(t, u) == t_0), identity(t, t_0)) >> (u == 0) *)
Definition applies_7_order_1 (t u t_0 : bv) : Prop :=
  is_bv t /\
  is_bv u /\
  is_bv t_0 /\
  same_width t u /\
  same_width (bvadd t u) t_0 /\
  t = t_0.
Definition rule_7_order_1 (t u t_0 : bv) : Prop :=
  applies_7_order_1 t u t_0 ->
  same_width u (literal 0 (width u)) /\
  (bveq (bvadd t u) t_0) = (bveq u (literal 0 (width u))).
Definition applies_7_order_2 (t u t_0 : bv) : Prop :=
  is_bv u /\
  is_bv t /\
  is_bv t_0 /\
  same_width u t /\
  same_width (bvadd u t) t_0 /\
  t = t_0.
Definition rule_7_order_2 (t u t_0 : bv) : Prop :=
  applies_7_order_2 t u t_0 ->
  same_width u (literal 0 (width u)) /\
  (bveq (bvadd u t) t_0) = (bveq u (literal 0 (width u))).
Definition applies_7_order_3 (t u t_0 : bv) : Prop :=
  is_bv t_0 /\
  is_bv t /\
  is_bv u /\
  same_width t u /\
  same_width t_0 (bvadd t u) /\
  t = t_0.
Definition rule_7_order_3 (t u t_0 : bv) : Prop :=
  applies_7_order_3 t u t_0 ->
  same_width u (literal 0 (width u)) /\
  (bveq t_0 (bvadd t u)) = (bveq u (literal 0 (width u))).
Definition applies_7_order_4 (t u t_0 : bv) : Prop :=
  is_bv t_0 /\
  is_bv u /\
  is_bv t /\
  same_width u t /\
  same_width t_0 (bvadd u t) /\
  t = t_0.
Definition rule_7_order_4 (t u t_0 : bv) : Prop :=
  applies_7_order_4 t u t_0 ->
  same_width u (literal 0 (width u)) /\
  (bveq t_0 (bvadd u t)) = (bveq u (literal 0 (width u))).
Definition applies_7 (t u t_0 : bv) : Prop :=
  applies_7_order_1 t u t_0 \/
  applies_7_order_2 t u t_0 \/
  applies_7_order_3 t u t_0 \/
  applies_7_order_4 t u t_0.
Definition rule_7 (t u t_0 : bv) : Prop :=
  rule_7_order_1 t u t_0 /\
  rule_7_order_2 t u t_0 /\
  rule_7_order_3 t u t_0 /\
  rule_7_order_4 t u t_0.
Definition holds_7 : Prop := forall (t u t_0 : bv), rule_7 t u t_0.
Definition holds_7_where (also : bv -> bv -> bv -> Prop) : Prop := forall (t u t_0 : bv), also t u t_0 -> rule_7 t u t_0.
Definition never_7 : Prop := forall (t u t_0 : bv), ~ applies_7 t u t_0.

(** Rule 8: rewrite(ite(or(p, (q == true)), bvnot(t), ite(p_0, u, t_0)), identity(p, p_0), identity(t, t_0)) >> bvnot(ite(and(p, q), t, bvnot(u))) *)
Definition applies_8 (t u t_0 : bv) (p q p_0 : bool) : Prop :=
  is_bv t /\
  is_bv u /\
  is_bv t_0 /\
  same_width u t_0 /\
  same_width (bvnot t) (ite p_0 u t_0) /\
  p = p_0 /\
  t = t_0.
Definition rule_8 (t u t_0 : bv) (p q p_0 : bool) : Prop :=
  applies_8 t u t_0 p q p_0 ->
  same_width t (bvnot u) /\
  (ite (orb p (Bool.eqb q true)) (bvnot t) (ite p_0 u t_0)) = (bvnot (ite (andb p q) t (bvnot u))).
Definition holds_8 : Prop := forall (t u t_0 : bv) (p q p_0 : bool), rule_8 t u t_0 p q p_0.
Definition holds_8_where (also : bv -> bv -> bv -> bool -> bool -> bool -> Prop) : Prop := forall (t u t_0 : bv) (p q p_0 : bool), also t u t_0 p q p_0 -> rule_8 t u t_0 p q p_0.
Definition never_8 : Prop := forall (t u t_0 : bv) (p q p_0 : bool), ~ applies_8 t u t_0 p q p_0.

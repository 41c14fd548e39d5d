(** The rules of bitvector.rules that [rule] does not close, or that need a further condition. *)

From Coq Require Import ZArith Bool Lia.
From Quarv Require Import Bv Lemmas Rotations Tactics bitvector_rules.
Local Open Scope Z_scope.

(** ** Division *)

Theorem proof_45 : holds_45.
Proof.
  start. destruct (Z.eq_dec w_c1' 1) as [->|].
  - one_bit.
  - destruct (signed_cases w_c1' 1) as [[-> _]|[_ ?]]; [lia|lia| |].
    + change (1 =? 0) with false; cbv iota. rewrite Z.quot_1_r. apply signed_mod; range.
    + pose proof (pow2_ge_2 (w_c1' - 1) ltac:(lia)). lia.
Qed.

(** Rule 46 holds where t is not 0. *)
Theorem proof_46_where : holds_46_where (fun t _ => bv2nat t <> 0).
Proof.
  start. destruct (Z.eqb_spec (signed w_t_0 v_t_0) 0).
  - destruct (signed_cases w_t_0 v_t_0); lia.
  - rewrite Z.quot_same by auto. apply Z.mod_small; lia.
Qed.

Theorem refuted_46 : ~ holds_46.
Proof. intro H. pose proof (H (make_bv 2 0) (make_bv 2 0)) as A. refute A. Qed.

(** ** Shifts *)

Theorem proof_67 : holds_67.
Proof.
  start. pose proof (pow2_pos v_c1 ltac:(lia)). pose proof (pow2_pos v_c2 ltac:(lia)).
  rewrite signed_of_mod; [|lia|].
  - rewrite Z.div_div, <- Z.pow_add_r, (Z.mod_small (v_c1 + v_c2)) by lia. reflexivity.
  - destruct (signed_cases w_c2 v_t); [lia|lia| |]; split;
      [apply Z.div_le_lower_bound | apply Z.div_lt_upper_bound | apply Z.div_le_lower_bound
      | apply Z.div_lt_upper_bound]; nia.
Qed.

(** ** Rotations *)

Theorem proof_69 : holds_69.
Proof. start. apply (rotate_left_width (make_bv w_t v_t)). in_range. Qed.

Theorem proof_70 : holds_70.
Proof.
  start. replace n with (n - w_t + w_t) at 1 by lia. unfold rotate_left. rewrite iter_add by lia. f_equal.
  apply (rotate_left_width (make_bv w_t v_t)). in_range.
Qed.

(** Two of them are 0; named, so that nobody counts up to it. *)
Lemma half_word : exists n, n = 2 ^ 63 /\ word_add n n = 0.
Proof. exists (2 ^ 63). split; reflexivity. Qed.

(** Rule 71 holds where n1 + n2 is below 2^64, the bound of a machine word. *)
Theorem proof_71_where : holds_71_where (fun _ n1 n2 => n1 + n2 < word).
Proof. start. symmetry. apply iter_add; lia. Qed.

Theorem refuted_71 : ~ holds_71.
Proof.
  intro H. pose (t := make_bv 3 1). destruct half_word as [n [N W]]. pose proof (H t n n) as A.
  assert (E : applies_71 t n n) by (red; unfold_sorts; cbn [width bv2nat t]; unfold word in *; lia).
  apply A in E; clear A. rewrite W in E.
  destruct (rotate_left_bits (n + n) t) as [_ [_ B]]; [lia|split; cbn; lia|].
  specialize (B 1 ltac:(cbn; lia)). unfold rotate_left in *. rewrite iter_add, E in B by lia.
  rewrite N in B. vm_compute in B. discriminate.
Qed.

Theorem proof_73 : holds_73.
Proof. start. apply (rotate_right_width (make_bv w_t v_t)). in_range. Qed.

Theorem proof_74 : holds_74.
Proof.
  start. replace n with (n - w_t + w_t) at 1 by lia. unfold rotate_right. rewrite iter_add by lia. f_equal.
  apply (rotate_right_width (make_bv w_t v_t)). in_range.
Qed.

(** Rule 75 holds where n1 + n2 is below 2^64, the bound of a machine word. *)
Theorem proof_75_where : holds_75_where (fun _ n1 n2 => n1 + n2 < word).
Proof. start. symmetry. apply iter_add; lia. Qed.

Theorem refuted_75 : ~ holds_75.
Proof.
  intro H. pose (t := make_bv 3 1). destruct half_word as [n [N W]]. pose proof (H t n n) as A.
  assert (E : applies_75 t n n) by (red; unfold_sorts; cbn [width bv2nat t]; unfold word in *; lia).
  apply A in E; clear A. rewrite W in E.
  destruct (rotate_right_bits (n + n) t) as [_ [_ B]]; [lia|split; cbn; lia|].
  specialize (B 2 ltac:(cbn; lia)). unfold rotate_right in *. rewrite iter_add, E in B by lia.
  rewrite N in B. vm_compute in B. discriminate.
Qed.

(** ** Equalities *)

(** Rule 144 holds where t2 is t1 or t3, and for width 1. *)
Theorem proof_144_where : holds_144_where (fun t1 t2 _ t3 => t2 = t1 \/ t2 = t3 \/ width t1 = 1).
Proof.
  start. match goal with H : _ \/ _ |- _ => destruct H as [E | [E | ->]] end.
  - injection E as ->. linear.
  - injection E as ->. linear.
  - one_bit.
Qed.

Theorem refuted_144 : ~ holds_144.
Proof.
  intro H. pose proof (H (make_bv 2 2) (make_bv 2 1) (make_bv 2 1) (make_bv 2 0)) as A. refute A.
Qed.

(** Rule 179 holds where n is not 0. *)
Theorem proof_179_where : holds_179_where (fun _ _ n => n <> 0).
Proof. start. pose proof (pow2_lt w_t (w_t + n) ltac:(lia) ltac:(lia)). lia. Qed.

Theorem refuted_179 : ~ holds_179.
Proof. intro H. pose proof (H (make_bv 1 1) (make_bv 1 1) 0) as A. refute A. Qed.

(** Rule 180 holds where n is not 0. *)
Theorem proof_180_where : holds_180_where (fun _ _ n => n <> 0).
Proof. start. pose proof (pow2_lt w_t (w_t + n) ltac:(lia) ltac:(lia)). lia. Qed.

Theorem refuted_180 : ~ holds_180.
Proof. intro H. pose proof (H (make_bv 1 1) (make_bv 1 1) 0) as A. refute A. Qed.

(** ** A rule whose conditions exclude each other *)

Theorem proof_96_never : never_96.
Proof. red. intros c1 t c2 A. red in A. unfold_sorts. split_and. lia. Qed.

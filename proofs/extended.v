(** The rules of extended.rules that [rule] does not close. *)

From Coq Require Import ZArith Bool Lia.
From Quarv Require Import Bv Lemmas Rotations Tactics extended_rules.
Local Open Scope Z_scope.

(** A number is less than the power of 2 by which it is divided. *)
Theorem proof_130 : holds_130.
Proof.
  start. rewrite Z.div_small by (split; [lia | apply Z.pow_gt_lin_r; lia]). apply Z.mod_0_l. lia.
Qed.

Theorem proof_131 : holds_131.
Proof. start. change (0 =? 0) with true. cbv iota. apply Z.mod_small. lia. Qed.

Theorem proof_132 : holds_132.
Proof. start. destruct v_t; reflexivity. Qed.

(** A quotient, told by its value. *)
Ltac quotient a d q := rewrite <- (Z.div_unique a d q (a - q * d)) by lia.

(** The sum of two numbers of w bits reaches 2^w where the one exceeds what the other leaves. *)
Ltac carry :=
  match goal with
  | |- (?s mod 2 ^ (?w + ?m) / 2 ^ ?w) mod _ = _ =>
    let P := fresh in pose proof (pow2_le (w + 1) (w + m) ltac:(lia)) as P; rewrite pow2_succ in P by lia;
    rewrite lnot_mod in * by lia; rewrite (Z.mod_small s) by lia;
    first [quotient s (2 ^ w) 1 | rewrite Z.div_small by lia]; reflexivity
  end.

Theorem proof_142 : holds_142.
Proof.
  start; match goal with
         | H : (_ <? _) = true |- _ => apply Z.ltb_lt in H
         | H : (_ <? _) = false |- _ => apply Z.ltb_ge in H
         end; carry.
Qed.

(** Of a number and its opposite one is negative, unless they are zero. *)
Ltac sign_of_either :=
  match goal with
  | E : 2 ^ ?w = 2 * 2 ^ (?w - 1), V : (?v =? 0 mod 2 ^ ?w) = ?b |- _ =>
    rewrite Z.mod_0_l in V by lia;
    first
      [ apply Z.eqb_eq in V; rewrite V, Z.sub_0_r, Z.mod_same, Z.div_0_l by lia
      | apply Z.eqb_neq in V; rewrite (Z.mod_small (2 ^ w - v)) by lia;
        destruct (Z_lt_le_dec v (2 ^ (w - 1)));
        [ rewrite (Z.div_small v) by lia; quotient (2 ^ w - v) (2 ^ (w - 1)) 1
        | quotient v (2 ^ (w - 1)) 1; destruct (Z.eq_dec v (2 ^ (w - 1)));
          [quotient (2 ^ w - v) (2 ^ (w - 1)) 1 | rewrite (Z.div_small (2 ^ w - v)) by lia] ] ];
    reflexivity
  end.

Theorem proof_143 : holds_143.
Proof. start; sign_of_either. Qed.

(** One bit is 0 or 1. *)
Theorem proof_145 : holds_145.
Proof.
  start; (assert (C : v_t = 0 \/ v_t = 1) by (change (2 ^ 1) with 2 in *; lia)); destruct C; subst v_t;
    match goal with |- ?a mod _ = _ => let x := eval vm_compute in a in change a with x end;
    (rewrite Z.mod_small by lia); reflexivity.
Qed.

(** What is left of a number without the bits that it has in common with another one. *)
Lemma less_part : forall n a b, 0 <= n -> 0 <= a < 2 ^ n -> Z.land a (Z.lnot b mod 2 ^ n) = a - Z.land a b.
Proof.
  intros n a b Hn Ha. rewrite Z.sub_nocarry_ldiff.
  - apply Z.bits_inj'; intros i Hi. rewrite Z.ldiff_spec, !Z.land_spec.
    destruct (Z_lt_le_dec i n).
    + rewrite Z.mod_pow2_bits_low, Z.lnot_spec by lia. destruct (Z.testbit a i), (Z.testbit b i); reflexivity.
    + rewrite <- (Z.mod_small a (2 ^ n)), Z.mod_pow2_bits_high by lia. reflexivity.
  - apply Z.bits_inj'; intros i Hi. rewrite Z.ldiff_spec, Z.land_spec, Z.bits_0.
    destruct (Z.testbit a i), (Z.testbit b i); reflexivity.
Qed.

(** a + (m - c) is a - c where m is nothing. *)
Lemma add_opposite : forall a c m, 0 < m -> (a + (m - c mod m) mod m) mod m = (a - c) mod m.
Proof.
  intros. rewrite Zplus_mod_idemp_r. replace (a + (m - c mod m)) with (a - c mod m + 1 * m) by lia.
  rewrite Z_mod_plus_full. apply Zminus_mod_idemp_r.
Qed.

Theorem proof_152 : holds_152.
Proof.
  start; rewrite less_part by lia; try rewrite (Z.add_comm _ v_t_0); rewrite add_opposite by lia;
    try rewrite (Z.land_comm v_u); reflexivity.
Qed.

Theorem proof_158 : holds_158.
Proof.
  start. symmetry. set (k := h + 1) in *. replace (w_t_0 - 1 - k + 1) with (w_t_0 - k) by lia.
  destruct (rotate_left_bits (w_t_0 - k) (make_bv w_t_0 v_t_0)) as [R [W B]];
    [lia|split; cbn [width bv2nat]; lia|].
  cbn [width] in W, B. apply bv_ext; [exact R| |cbn [width]; lia|].
  - split; cbn [width bv2nat]; [lia|]. apply concat_range; try apply mod_range; lia.
  - intros j Hj. rewrite W in Hj. rewrite B by lia. unfold bit. cbn [bv2nat].
    rewrite bit_concat by (try apply mod_range; lia). destruct (Z.ltb_spec j (w_t_0 - k)).
    + rewrite bit_mod, bit_div by lia. destruct (Z.ltb_spec j (w_t_0 - k)); [|lia]. rewrite andb_true_l. f_equal.
      replace (j - (w_t_0 - k)) with (j + k + (-1) * w_t_0) by lia. rewrite Z_mod_plus_full. apply Z.mod_small; lia.
    + rewrite bit_mod by lia. destruct (Z.ltb_spec (j - (w_t_0 - k)) k); [|lia]. rewrite andb_true_l. f_equal. apply Z.mod_small; lia.
Qed.

(** A part of a rotation of which the bits come from places side by side. *)
Lemma part_of_rotation : forall n w v l l' k, 0 <= n -> 0 < w -> 0 <= v < 2 ^ w -> 0 <= l -> 0 <= l' -> 0 <= k ->
  l + k <= w -> (forall j, 0 <= j < k -> (l + j - n) mod w = l' + j) ->
  (bv2nat (rotate_left n (make_bv w v)) / 2 ^ l) mod 2 ^ k = (v / 2 ^ l') mod 2 ^ k.
Proof.
  intros n w v l l' k Hn Hw Hv Hl Hl' Hk Hlk E.
  destruct (rotate_left_bits n (make_bv w v)) as [R [W B]]; [lia|split; cbn [width bv2nat]; lia|].
  cbn [width] in W, B. apply Z.bits_inj'; intros j Hj. rewrite !bit_mod, !bit_div by lia.
  destruct (Z.ltb_spec j k) as [L|L]; [|reflexivity]. f_equal. specialize (B (j + l) ltac:(lia)). unfold bit in B.
  cbn [bv2nat] in B. rewrite B. f_equal. rewrite (Z.add_comm j l), E by lia. lia.
Qed.

Theorem proof_159 : holds_159.
Proof.
  start. replace (h - n - (l - n) + 1) with (h - l + 1) by lia. apply part_of_rotation; try lia.
  intros j Hj. replace (l + j - n) with (l - n + j) by lia. apply Z.mod_small; lia.
Qed.

Theorem proof_160 : holds_160.
Proof.
  start. replace (w_t - n + h - (w_t - n + l) + 1) with (h - l + 1) by lia. apply part_of_rotation; try lia.
  intros j Hj. replace (l + j - n) with (w_t - n + l + j + (-1) * w_t) by lia. rewrite Z_mod_plus_full.
  apply Z.mod_small; lia.
Qed.

(** What is rotated is compared before, the other side rotated back. *)
Ltac rotated_back n w v c :=
  change (bveq (rotate_left n (make_bv w v)) (make_bv w c) = bveq (make_bv w v) (rotate_right n (make_bv w c)));
  assert (in_range (make_bv w v)) by (split; cbn [width bv2nat]; lia);
  assert (in_range (make_bv w c)) by (split; cbn [width bv2nat]; lia);
  apply eq_true_iff_eq; rewrite !bveq_iff by (rewrite ?width_rotate_left, ?width_rotate_right; auto);
  let E := fresh in split; intro E; [rewrite <- E, rotate_right_left|rewrite E, rotate_left_right]; auto.

Theorem proof_161 : holds_161.
Proof.
  start.
  - rotated_back n w_c v_t v_c.
  - rewrite Z.eqb_sym. rotated_back n w_t v_t v_c.
Qed.

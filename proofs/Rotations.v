(** Rotations, bit by bit. *)

From Coq Require Import ZArith Bool Lia.
From Quarv Require Import Bv Lemmas.
Local Open Scope Z_scope.

Lemma rotate_left_once_bits : forall t, in_range t -> in_range (rotate_left_once t) /\
  width (rotate_left_once t) = width t /\
  forall j, 0 <= j < width t -> bit j (rotate_left_once t) = bit ((j - 1) mod width t) t.
Proof.
  intros [w x] [Hw Hx]. unfold rotate_left_once. cbn [width bv2nat] in *.
  destruct (Z.eqb_spec w 1) as [->|].
  - split; [split; auto|]. split; auto. intros j Hj. f_equal. cbn in Hj. replace j with 0 by lia. reflexivity.
  - rewrite extract_bit by lia. unfold in_range, concat, extract, bit; cbn [width bv2nat nat2bv].
    rewrite Z.div_1_r. replace (w - 2 - 0 + 1) with (w - 1) by lia. split; [|split; [lia|]].
    + split; [lia|]. replace (w - 1 + 1) with ((w - 1) + 1) by lia.
      apply concat_range; try lia; [apply mod_range; lia | apply nat_of_bit_range].
    + intros j Hj. rewrite bit_concat by (try apply nat_of_bit_range; lia). rewrite bit_mod by lia.
      destruct (Z.ltb_spec j 1).
      * replace j with 0 by lia. rewrite bit_nat_of_bit. f_equal.
        apply (Z.mod_unique _ _ (-1)); lia.
      * rewrite (Z.mod_small (j - 1)) by lia. destruct (Z.ltb_spec (j - 1) (w - 1)); [reflexivity|lia].
Qed.

Lemma rotate_right_once_bits : forall t, in_range t -> in_range (rotate_right_once t) /\
  width (rotate_right_once t) = width t /\
  forall j, 0 <= j < width t -> bit j (rotate_right_once t) = bit ((j + 1) mod width t) t.
Proof.
  intros [w x] [Hw Hx]. unfold rotate_right_once. cbn [width bv2nat] in *.
  destruct (Z.eqb_spec w 1) as [->|].
  - split; [split; auto|]. split; auto. intros j Hj. f_equal. cbn in Hj. replace j with 0 by lia. reflexivity.
  - rewrite extract_bit by lia. unfold in_range, concat, extract, bit; cbn [width bv2nat nat2bv].
    replace (w - 1 - 1 + 1) with (w - 1) by lia. split; [|split; [lia|]].
    + split; [lia|]. replace (1 + (w - 1)) with (1 + (w - 1)) by lia.
      apply concat_range; try lia; [apply nat_of_bit_range | apply mod_range; lia].
    + intros j Hj. rewrite bit_concat by (try (apply mod_range); lia). rewrite bit_mod, bit_div by lia.
      destruct (Z.ltb_spec j (w - 1)).
      * rewrite (Z.mod_small (j + 1)) by lia. reflexivity.
      * replace (j - (w - 1)) with 0 by lia. rewrite bit_nat_of_bit. f_equal.
        apply (Z.mod_unique _ _ 1); lia.
Qed.

Lemma rotate_left_bits : forall n t, 0 <= n -> in_range t -> in_range (rotate_left n t) /\
  width (rotate_left n t) = width t /\
  forall j, 0 <= j < width t -> bit j (rotate_left n t) = bit ((j - n) mod width t) t.
Proof.
  intros n t Hn Ht. pattern n. apply natlike_ind; auto; clear n Hn; unfold rotate_left.
  - cbn. split; auto. split; auto. intros j Hj. f_equal. rewrite Z.sub_0_r. symmetry; apply Z.mod_small; auto.
  - intros n Hn [R [W B]]. unfold Z.succ. rewrite iter_succ by auto.
    destruct (rotate_left_once_bits _ R) as [R' [W' B']]. rewrite W in *. split; [auto|split; [auto|]].
    intros j Hj. rewrite B', B by (try apply Z.mod_pos_bound; lia). f_equal.
    rewrite Zminus_mod_idemp_l. f_equal; lia.
Qed.

Lemma rotate_right_bits : forall n t, 0 <= n -> in_range t -> in_range (rotate_right n t) /\
  width (rotate_right n t) = width t /\
  forall j, 0 <= j < width t -> bit j (rotate_right n t) = bit ((j + n) mod width t) t.
Proof.
  intros n t Hn Ht. pattern n. apply natlike_ind; auto; clear n Hn; unfold rotate_right.
  - cbn. split; auto. split; auto. intros j Hj. f_equal. rewrite Z.add_0_r. symmetry; apply Z.mod_small; auto.
  - intros n Hn [R [W B]]. unfold Z.succ. rewrite iter_succ by auto.
    destruct (rotate_right_once_bits _ R) as [R' [W' B']]. rewrite W in *. split; [auto|split; [auto|]].
    intros j Hj. rewrite B', B by (try apply Z.mod_pos_bound; lia). f_equal.
    rewrite Zplus_mod_idemp_l. f_equal; lia.
Qed.

Lemma rotate_left_width : forall t, in_range t -> rotate_left (width t) t = t.
Proof.
  intros t Ht. destruct (rotate_left_bits (width t) t) as [R [W B]]; [apply Z.lt_le_incl, Ht|auto|].
  apply bv_ext; auto. intros j Hj. rewrite B by lia. f_equal.
  replace (j - width t) with (j + (-1) * width t) by lia. rewrite Z_mod_plus_full. apply Z.mod_small; lia.
Qed.

Lemma rotate_right_width : forall t, in_range t -> rotate_right (width t) t = t.
Proof.
  intros t Ht. destruct (rotate_right_bits (width t) t) as [R [W B]]; [apply Z.lt_le_incl, Ht|auto|].
  apply bv_ext; auto. intros j Hj. rewrite B by lia. f_equal.
  replace (j + width t) with (j + 1 * width t) by lia. rewrite Z_mod_plus_full. apply Z.mod_small; lia.
Qed.

Lemma rotate_left_right : forall n t, 0 <= n -> in_range t -> rotate_left n (rotate_right n t) = t.
Proof.
  intros n t Hn Ht. destruct (rotate_right_bits n t Hn Ht) as [R [W B]].
  destruct (rotate_left_bits n _ Hn R) as [R' [W' B']]. rewrite W in *. apply bv_ext; auto.
  intros i Hi. rewrite W' in Hi. rewrite B', B by (try apply Z.mod_pos_bound; lia). f_equal.
  rewrite Zplus_mod_idemp_l. replace (i - n + n) with i by lia. apply Z.mod_small; auto.
Qed.

Lemma rotate_right_left : forall n t, 0 <= n -> in_range t -> rotate_right n (rotate_left n t) = t.
Proof.
  intros n t Hn Ht. destruct (rotate_left_bits n t Hn Ht) as [R [W B]].
  destruct (rotate_right_bits n _ Hn R) as [R' [W' B']]. rewrite W in *. apply bv_ext; auto.
  intros i Hi. rewrite W' in Hi. rewrite B', B by (try apply Z.mod_pos_bound; lia). f_equal.
  rewrite Zminus_mod_idemp_l. replace (i + n - n) with i by lia. apply Z.mod_small; auto.
Qed.

Lemma width_rotate_left : forall n t, 0 <= n -> in_range t -> width (rotate_left n t) = width t.
Proof. intros n t Hn Ht. apply (rotate_left_bits n t Hn Ht). Qed.

Lemma width_rotate_right : forall n t, 0 <= n -> in_range t -> width (rotate_right n t) = width t.
Proof. intros n t Hn Ht. apply (rotate_right_bits n t Hn Ht). Qed.

Lemma bveq_rotate_left : forall n s t, 0 <= n -> in_range s -> in_range t -> width s = width t ->
  bveq (rotate_left n s) (rotate_left n t) = bveq s t.
Proof.
  intros n s t Hn Hs Ht W. apply eq_true_iff_eq. rewrite !bveq_iff by (rewrite ?width_rotate_left; auto).
  split; intro E; [|subst; reflexivity].
  rewrite <- (rotate_right_left n s), <- (rotate_right_left n t), E by auto. reflexivity.
Qed.

Lemma bveq_rotate_right : forall n s t, 0 <= n -> in_range s -> in_range t -> width s = width t ->
  bveq (rotate_right n s) (rotate_right n t) = bveq s t.
Proof.
  intros n s t Hn Hs Ht W. apply eq_true_iff_eq. rewrite !bveq_iff by (rewrite ?width_rotate_right; auto).
  split; intro E; [|subst; reflexivity].
  rewrite <- (rotate_left_right n s), <- (rotate_left_right n t), E by auto. reflexivity.
Qed.

(** The divisions as operations on numbers. *)

From Coq Require Import ZArith Zquot Bool Lia.
From Quarv Require Import Bv Lemmas.
Local Open Scope Z_scope.

Lemma bvudiv_eq : forall s t, bvudiv s t =
  nat2bv (width s) (if bv2nat t =? 0 then 2 ^ width s - 1 else bv2nat s / bv2nat t).
Proof. intros. unfold bvudiv. destruct (bv2nat t =? 0); reflexivity. Qed.

(** Coq's remainder by 0 is the dividend too. *)
Lemma bvurem_eq : forall s t, in_range s -> 0 <= bv2nat t ->
  bvurem s t = make_bv (width s) (bv2nat s mod bv2nat t).
Proof.
  intros [w x] [w' y] [Hw Hx] Hy. unfold bvurem, nat2bv. cbn [width bv2nat] in *.
  destruct (Z.eqb_spec y 0) as [->|]; apply bv_eq; auto.
  - symmetry. apply Zmod_0_r.
  - pose proof (Z.mod_pos_bound x y ltac:(lia)). pose proof (Z.mod_le x y ltac:(lia) ltac:(lia)).
    apply Z.mod_small; lia.
Qed.

Lemma bvsdiv_eq : forall s t, in_range s -> in_range t -> width s = width t ->
  bvsdiv s t = nat2bv (width s)
    (let a := signed (width s) (bv2nat s) in let b := signed (width t) (bv2nat t) in
     if b =? 0 then if a <? 0 then 1 else -1 else Z.quot a b).
Proof.
  intros [w x] [w' y] [Hw Hx] [_ Hy] W. cbn [width bv2nat] in *. subst w'. cbv zeta.
  unfold bvsdiv. rewrite !bvudiv_eq.
  unfold bvneg, nat2bv, negative, bit, signed. cbn [width bv2nat].
  rewrite !msb by auto. pose proof (pow2_half w Hw) as P. pose proof (pow2_pos (w - 1) ltac:(lia)).
  destruct (Z.leb_spec (2 ^ (w - 1)) x), (Z.leb_spec (2 ^ (w - 1)) y);
    rewrite ?(Z.mod_small (2 ^ w - x)), ?(Z.mod_small (2 ^ w - y)) by lia; apply bv_eq; auto;
    rewrite ?neg_mod by lia.
  - destruct (Z.eqb_spec (2 ^ w - y) 0), (Z.eqb_spec (y - 2 ^ w) 0); try lia.
    f_equal. replace (x - 2 ^ w) with (- (2 ^ w - x)) by lia. replace (y - 2 ^ w) with (- (2 ^ w - y)) by lia.
    rewrite Z.quot_opp_opp, Z.quot_div_nonneg by lia. reflexivity.
  - rewrite <- Z.sub_0_l, Zminus_mod_idemp_r, Z.sub_0_l. destruct (Z.eqb_spec y 0).
    + destruct (Z.ltb_spec (x - 2 ^ w) 0); [|lia]. rewrite <- (Z_mod_plus_full _ 1). f_equal; lia.
    + f_equal. replace (x - 2 ^ w) with (- (2 ^ w - x)) by lia.
      rewrite Z.quot_opp_l, Z.quot_div_nonneg by lia. reflexivity.
  - rewrite <- Z.sub_0_l, Zminus_mod_idemp_r, Z.sub_0_l.
    destruct (Z.eqb_spec (2 ^ w - y) 0), (Z.eqb_spec (y - 2 ^ w) 0); try lia.
    f_equal. replace (y - 2 ^ w) with (- (2 ^ w - y)) by lia.
    rewrite Z.quot_opp_r, Z.quot_div_nonneg by lia. reflexivity.
  - destruct (Z.eqb_spec y 0).
    + destruct (Z.ltb_spec x 0); [lia|]. rewrite <- (Z_mod_plus_full (-1) 1). f_equal; lia.
    + rewrite Z.quot_div_nonneg by lia. reflexivity.
Qed.

Lemma bvsrem_eq : forall s t, in_range s -> in_range t -> width s = width t ->
  bvsrem s t = nat2bv (width s) (Z.rem (signed (width s) (bv2nat s)) (signed (width t) (bv2nat t))).
Proof.
  intros [w x] [w' y] [Hw Hx] [_ Hy] W. cbn [width bv2nat] in *. subst w'.
  assert (R : forall z, in_range (nat2bv w z)) by (intros; split; [|apply mod_range]; cbn; lia).
  unfold bvsrem, bvneg, negative, bit. cbn [width bv2nat].
  rewrite !bvurem_eq by (first [apply R | split; auto | cbn; lia | apply R]).
  unfold nat2bv, signed. cbn [width bv2nat].
  rewrite !msb by auto. pose proof (pow2_half w Hw) as P. pose proof (pow2_pos (w - 1) ltac:(lia)).
  destruct (Z.leb_spec (2 ^ (w - 1)) x), (Z.leb_spec (2 ^ (w - 1)) y);
    rewrite ?(Z.mod_small (2 ^ w - x)), ?(Z.mod_small (2 ^ w - y)) by lia; apply bv_eq; auto;
    rewrite ?neg_mod by lia.
  - f_equal. replace (x - 2 ^ w) with (- (2 ^ w - x)) by lia. replace (y - 2 ^ w) with (- (2 ^ w - y)) by lia.
    rewrite Z.rem_opp_opp, Z.rem_mod_nonneg by lia. reflexivity.
  - f_equal. replace (x - 2 ^ w) with (- (2 ^ w - x)) by lia. destruct (Z.eq_dec y 0) as [->|].
    + rewrite Zmod_0_r, Zrem_0_r. reflexivity.
    + rewrite Z.rem_opp_l, Z.rem_mod_nonneg by lia. reflexivity.
  - replace (y - 2 ^ w) with (- (2 ^ w - y)) by lia. rewrite Z.rem_opp_r, Z.rem_mod_nonneg by lia.
    symmetry; apply Z.mod_small. pose proof (Z.mod_pos_bound x (2 ^ w - y) ltac:(lia)); lia.
  - destruct (Z.eq_dec y 0) as [->|].
    + rewrite Zmod_0_r, Zrem_0_r. symmetry; apply Z.mod_small; lia.
    + rewrite Z.rem_mod_nonneg by lia. symmetry; apply Z.mod_small.
      pose proof (Z.mod_pos_bound x y ltac:(lia)); lia.
Qed.

(** What folding constants comes to, for all widths, where the standard defines an operator by cases or by steps: division
    by zero, signs, shifts beyond the width, extensions and rotations. *)

From Coq Require Import ZArith Zquot Bool Lia.
From Quarv Require Import Bv Lemmas Rotations Division.
Local Open Scope Z_scope.

(** The number that a bit-vector stands for in two's complement. *)
Definition bv2int (s : bv) : Z := signed (width s) (bv2nat s).

Lemma negative_iff : forall s, in_range s -> negative s = (bv2int s <? 0).
Proof.
  intros [w x] [Hw Hx]. cbn [width bv2nat] in *. unfold negative, bit, bv2int; cbn [width bv2nat]. rewrite msb by auto.
  destruct (signed_cases w x Hw Hx) as [[-> ?]|[-> ?]]; destruct (Z.leb_spec (2 ^ (w - 1)) x); lia.
Qed.

Lemma bv2int_range : forall s, in_range s -> - 2 ^ (width s - 1) <= bv2int s < 2 ^ (width s - 1).
Proof.
  intros [w x] [Hw Hx]. unfold bv2int. cbn [width bv2nat] in *. pose proof (pow2_half w Hw).
  destruct (signed_cases w x Hw Hx) as [[-> ?]|[-> ?]]; lia.
Qed.

(** A signed number that fits is what the bits say. *)
Lemma bv2int_nat2bv : forall w a, 0 < w -> - 2 ^ (w - 1) <= a < 2 ^ (w - 1) -> bv2int (nat2bv w a) = a.
Proof. intros. apply signed_of_mod; auto. Qed.

Lemma nat2bv_bv2int : forall s, in_range s -> nat2bv (width s) (bv2int s) = s.
Proof. intros [w x] [Hw Hx]. unfold nat2bv, bv2int. cbn [width bv2nat] in *. rewrite signed_mod by auto. reflexivity. Qed.

Lemma bv2int_zero : forall t, in_range t -> bv2nat t = 0 -> bv2int t = 0.
Proof. intros [w x] [Hw _] E. unfold bv2int. cbn [width bv2nat] in *. subst x. apply signed_0; auto. Qed.

(** ** Division by zero *)

Theorem bvudiv_by_zero : forall s t, bv2nat t = 0 -> bvudiv s t = nat2bv (width s) (-1).
Proof.
  intros s t E. unfold bvudiv, nat2bv. rewrite E. cbn [Z.eqb]. apply bv_eq; auto.
  rewrite <- (Z_mod_plus_full (-1) 1). f_equal; lia.
Qed.

Theorem bvurem_by_zero : forall s t, bv2nat t = 0 -> bvurem s t = s.
Proof. intros s t E. unfold bvurem. rewrite E. reflexivity. Qed.

Theorem bvsdiv_by_zero : forall s t, in_range s -> in_range t -> width s = width t -> bv2nat t = 0 ->
  bvsdiv s t = nat2bv (width s) (if bv2int s <? 0 then 1 else -1).
Proof.
  intros s t Hs Ht W E. rewrite bvsdiv_eq by auto. cbv zeta. fold (bv2int s) (bv2int t).
  rewrite (bv2int_zero t Ht E). reflexivity.
Qed.

Theorem bvsrem_by_zero : forall s t, in_range s -> in_range t -> width s = width t -> bv2nat t = 0 -> bvsrem s t = s.
Proof.
  intros s t Hs Ht W E. rewrite bvsrem_eq by auto. fold (bv2int s) (bv2int t).
  rewrite (bv2int_zero t Ht E), Zrem_0_r. apply nat2bv_bv2int; auto.
Qed.

(** ** Signed division: quotients go towards zero, with the dividend's sign in the remainder; [bvsmod] has the divisor's *)

Theorem bvsdiv_is_quot : forall s t, in_range s -> in_range t -> width s = width t -> bv2int t <> 0 ->
  bvsdiv s t = nat2bv (width s) (Z.quot (bv2int s) (bv2int t)).
Proof.
  intros s t Hs Ht W E. rewrite bvsdiv_eq by auto. cbv zeta. fold (bv2int s) (bv2int t).
  destruct (Z.eqb_spec (bv2int t) 0); [contradiction|reflexivity].
Qed.

Theorem bvsrem_is_rem : forall s t, in_range s -> in_range t -> width s = width t ->
  bvsrem s t = nat2bv (width s) (Z.rem (bv2int s) (bv2int t)).
Proof. intros. apply bvsrem_eq; auto. Qed.

(** Coq's [mod] rounds down, and by zero it is the dividend. *)
Theorem bvsmod_is_mod : forall s t, in_range s -> in_range t -> width s = width t ->
  bvsmod s t = nat2bv (width s) (bv2int s mod bv2int t).
Proof.
  intros [w x] [w' y] [Hw Hx] [_ Hy] W. cbn [width bv2nat] in *. subst w'.
  unfold bvsmod, bv2int, bvneg, bvadd, negative, bit, signed, nat2bv. cbn [width bv2nat].
  rewrite !msb by auto. pose proof (pow2_half w Hw) as P. pose proof (pow2_pos (w - 1) ltac:(lia)).
  destruct (Z.leb_spec (2 ^ (w - 1)) x), (Z.leb_spec (2 ^ (w - 1)) y); cbn [width bv2nat];
    rewrite ?(Z.mod_small (2 ^ w - x)), ?(Z.mod_small (2 ^ w - y)) by lia;
    rewrite bvurem_eq by (unfold in_range; cbn [width bv2nat]; lia); cbn [width bv2nat].
  - set (A := 2 ^ w - x). set (B := 2 ^ w - y).
    replace (x - 2 ^ w) with (- A) by lia. replace (y - 2 ^ w) with (- B) by lia. rewrite Zmod_opp_opp.
    destruct (Z.eqb_spec (A mod B) 0) as [->|]; apply bv_eq; auto.
    rewrite neg_mod by lia. reflexivity.
  - set (A := 2 ^ w - x). replace (x - 2 ^ w) with (- A) by lia.
    destruct (Z.eqb_spec (A mod y) 0) as [E|E]; apply bv_eq; auto.
    + rewrite E, Z_mod_zero_opp_full by auto. reflexivity.
    + rewrite Z_mod_nz_opp_full, neg_mod, Zplus_mod_idemp_l by (auto; lia). f_equal; lia.
  - set (B := 2 ^ w - y). replace (y - 2 ^ w) with (- B) by lia.
    destruct (Z.eqb_spec (x mod B) 0) as [E|E]; apply bv_eq; auto.
    + rewrite E, Z_mod_zero_opp_r by auto. reflexivity.
    + rewrite Z_mod_nz_opp_r by auto. replace y with (- B + 1 * 2 ^ w) by lia.
      rewrite Z.add_assoc, Z_mod_plus_full. f_equal; lia.
  - pose proof (remainder_bounds x y ltac:(lia) ltac:(lia)).
    destruct (Z.eqb_spec (x mod y) 0) as [->|]; apply bv_eq; auto. symmetry; apply Z.mod_small; lia.
Qed.

Theorem bvsmod_by_zero : forall s t, in_range s -> in_range t -> width s = width t -> bv2nat t = 0 -> bvsmod s t = s.
Proof.
  intros s t Hs Ht W E. rewrite bvsmod_is_mod, (bv2int_zero t Ht E), Zmod_0_r by auto. apply nat2bv_bv2int; auto.
Qed.

Theorem bvsmod_sign : forall s t, in_range s -> in_range t -> width s = width t -> bv2int t <> 0 ->
  if bv2int t <? 0 then bv2int t < bv2int (bvsmod s t) <= 0 else 0 <= bv2int (bvsmod s t) < bv2int t.
Proof.
  intros s t Hs Ht W E. rewrite bvsmod_is_mod by auto. pose proof (bv2int_range t Ht) as R. rewrite <- W in R.
  destruct Hs as [Hw _]. destruct (Z.ltb_spec (bv2int t) 0).
  - pose proof (Z.mod_neg_bound (bv2int s) (bv2int t) ltac:(lia)). rewrite bv2int_nat2bv by lia. lia.
  - pose proof (Z.mod_pos_bound (bv2int s) (bv2int t) ltac:(lia)). rewrite bv2int_nat2bv by lia. lia.
Qed.

(** ** Shifts by the width and more *)

Theorem bvshl_beyond : forall s t, in_range s -> width s <= bv2nat t -> bvshl s t = nat2bv (width s) 0.
Proof.
  intros s t [Hw _] H. unfold bvshl, nat2bv. apply bv_eq; auto. rewrite Zmod_0_l.
  replace (bv2nat t) with (bv2nat t - width s + width s) by lia.
  rewrite Z.pow_add_r, Z.mul_assoc by lia. apply Z_mod_mult.
Qed.

Theorem bvlshr_beyond : forall s t, in_range s -> width s <= bv2nat t -> bvlshr s t = nat2bv (width s) 0.
Proof.
  intros s t [Hw Hs] H. unfold bvlshr. pose proof (pow2_le (width s) (bv2nat t) H).
  rewrite Z.div_small by lia. reflexivity.
Qed.

Theorem bvashr_beyond : forall s t, in_range s -> width s <= bv2nat t ->
  bvashr s t = nat2bv (width s) (if bv2int s <? 0 then -1 else 0).
Proof.
  intros s t Hs H. pose proof (proj1 Hs). pose proof (bv2int_range s Hs).
  rewrite bvashr_eq by (auto; lia). fold (bv2int s). f_equal.
  pose proof (pow2_le (width s) (bv2nat t) H). pose proof (pow2_half (width s)).
  destruct (Z.ltb_spec (bv2int s) 0); [symmetry; apply (Z.div_unique _ _ _ (bv2int s + 2 ^ bv2nat t))|apply Z.div_small]; lia.
Qed.

(** ** Extensions *)

Theorem zero_extend_value : forall n t, 0 <= n -> zero_extend n t = make_bv (width t + n) (bv2nat t).
Proof. exact zero_extend_eq. Qed.

Theorem sign_extend_value : forall n t, 0 <= n -> in_range t ->
  width (sign_extend n t) = width t + n /\ bv2int (sign_extend n t) = bv2int t.
Proof.
  intros n t Hn Ht. rewrite sign_extend_eq by auto. split; [reflexivity|]. apply signed_sext; auto; apply Ht.
Qed.

(** ** Rotations: amounts count modulo the width *)

Theorem rotate_left_modulo : forall n t, 0 <= n -> in_range t -> rotate_left n t = rotate_left (n mod width t) t.
Proof.
  intros n t Hn Ht. pose proof (Z.mod_pos_bound n (width t) (proj1 Ht)).
  destruct (rotate_left_bits n t Hn Ht) as [R [W B]].
  destruct (rotate_left_bits (n mod width t) t ltac:(lia) Ht) as [R' [W' B']].
  apply bv_ext; auto; [lia|]. intros i Hi. rewrite W in Hi. rewrite B, B', Zminus_mod_idemp_r by auto. reflexivity.
Qed.

Theorem rotate_right_modulo : forall n t, 0 <= n -> in_range t -> rotate_right n t = rotate_right (n mod width t) t.
Proof.
  intros n t Hn Ht. pose proof (Z.mod_pos_bound n (width t) (proj1 Ht)).
  destruct (rotate_right_bits n t Hn Ht) as [R [W B]].
  destruct (rotate_right_bits (n mod width t) t ltac:(lia) Ht) as [R' [W' B']].
  apply bv_ext; auto; [lia|]. intros i Hi. rewrite W in Hi. rewrite B, B', Zplus_mod_idemp_r by auto. reflexivity.
Qed.

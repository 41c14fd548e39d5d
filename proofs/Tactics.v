(** The tactics that close what most rules state. [rule] tries them all. *)

From Coq Require Import ZArith Zquot Bool Lia.
From Quarv Require Import Bv Lemmas Rotations Division.
Local Open Scope Z_scope.

(** ** From a statement to numbers *)

Ltac unfold_sorts :=
  unfold is_bv, is_index, same_width, can_concat, can_extract, can_extend, has_value, all_ones in *.

(** Makes each bit-vector [t] a width [w_t] and a value [v_t]. *)
Ltac destruct_bvs :=
  repeat match goal with
  | t : bv |- _ => let w := fresh "w_" t in let v := fresh "v_" t in destruct t as [w v]
  end.

(** A value is below the power of 2. *)
Ltac range :=
  first
  [ assumption
  | lia
  | apply mod_range; lia
  | match goal with
    | H : 0 <= ?a < 2 ^ ?w |- 0 <= ?a < 2 ^ ?n => apply (range_le a w n H); lia
    end
  | apply land_range; [lia|range|range]
  | apply lor_range; [lia|range|range]
  | apply lxor_range; [lia|range|range]
  | apply concat_range; [lia|lia|range|range]
  | apply remainder_range; [range|lia] ].

Ltac compute_ops :=
  cbv beta iota zeta delta [width bv2nat nat2bv bit literal concat extract bvnot bvand bvor bvxor bvnand bvnor
    bvxnor bvneg bvadd bvsub bvmul bvshl bvlshr bveq bvcomp bvult bvule bvugt bvuge negative] in *.

Ltac in_range := unfold in_range; compute_ops; split; [lia|range].
Ltac same_width := compute_ops; lia.

(** Puts the closed forms in the place of what the standard defines by steps or by cases. *)
Ltac close e :=
  lazymatch e with
  | zero_extend ?n ?t => rewrite (zero_extend_eq n t) in * by lia
  | sign_extend ?n ?t => rewrite (sign_extend_eq n t) in * by first [lia | in_range]
  | bvashr ?s ?t => rewrite (bvashr_eq s t) in * by first [in_range | compute_ops; range]
  | bvslt ?s ?t => rewrite (bvslt_eq s t) in * by first [in_range | same_width]
  | bvsle ?s ?t => rewrite (bvsle_eq s t) in * by first [in_range | same_width]
  | bvsdiv ?s ?t => rewrite (bvsdiv_eq s t) in * by first [in_range | same_width]
  | bvsrem ?s ?t => rewrite (bvsrem_eq s t) in * by first [in_range | same_width]
  | bvudiv ?s ?t => rewrite (bvudiv_eq s t) in *
  | bvurem ?s ?t => rewrite (bvurem_eq s t) in * by first [in_range | compute_ops; range]
  end.

Ltac closed_forms :=
  unfold bvsgt, bvsge in *;
  repeat match goal with
  | |- context [width (rotate_left ?n ?t)] => rewrite (width_rotate_left n t) in * by first [lia | in_range]
  | |- context [width (rotate_right ?n ?t)] => rewrite (width_rotate_right n t) in * by first [lia | in_range]
  | H : context [width (rotate_left ?n ?t)] |- _ => rewrite (width_rotate_left n t) in * by first [lia | in_range]
  | H : context [width (rotate_right ?n ?t)] |- _ => rewrite (width_rotate_right n t) in * by first [lia | in_range]
  | |- context [bveq (rotate_left ?n ?s) (rotate_left ?n ?t)] =>
    rewrite (bveq_rotate_left n s t) by first [lia | in_range | same_width]
  | |- context [bveq (rotate_right ?n ?s) (rotate_right ?n ?t)] =>
    rewrite (bveq_rotate_right n s t) by first [lia | in_range | same_width]
  | |- context [rotate_left ?n (rotate_right ?n ?t)] => rewrite (rotate_left_right n t) by first [lia | in_range]
  | |- context [rotate_right ?n (rotate_left ?n ?t)] => rewrite (rotate_right_left n t) by first [lia | in_range]
  | |- context [zero_extend ?n ?t] => close (zero_extend n t)
  | |- context [sign_extend ?n ?t] => close (sign_extend n t)
  | |- context [bvashr ?s ?t] => close (bvashr s t)
  | |- context [bvslt ?s ?t] => close (bvslt s t)
  | |- context [bvsle ?s ?t] => close (bvsle s t)
  | |- context [bvsdiv ?s ?t] => close (bvsdiv s t)
  | |- context [bvsrem ?s ?t] => close (bvsrem s t)
  | |- context [bvudiv ?s ?t] => close (bvudiv s t)
  | |- context [bvurem ?s ?t] => close (bvurem s t)
  | H : context [zero_extend ?n ?t] |- _ => close (zero_extend n t)
  | H : context [sign_extend ?n ?t] |- _ => close (sign_extend n t)
  | H : context [bvurem ?s ?t] |- _ => close (bvurem s t)
  | H : context [bvudiv ?s ?t] |- _ => close (bvudiv s t)
  end.

(** Sums and differences of machine words that stay within them. *)
Ltac words :=
  repeat match goal with
  | |- context [word_add ?a ?b] => rewrite (word_add_small a b) in * by lia
  | |- context [word_sub ?a ?b] => rewrite (word_sub_small a b) in * by lia
  | H : context [word_add ?a ?b] |- _ => rewrite (word_add_small a b) in * by lia
  | H : context [word_sub ?a ?b] |- _ => rewrite (word_sub_small a b) in * by lia
  end.

(** Ranges of values stay in one piece. *)
Ltac split_and :=
  repeat match goal with
  | H : ?P /\ _ |- _ =>
    lazymatch type of H with
    | 0 <= _ < 2 ^ _ => fail
    | 0 <= _ < _ ^ _ => fail
    | _ => destruct H
    end
  end.

(** Widths that are found equal become one variable: [lia] sees only powers of the same exponent as one number. *)
Ltac equal_widths :=
  repeat match goal with
  | H : ?v + _ = ?w + _ |- _ =>
    is_var v; is_var w; assert_fails (constr_eq v w);
    let E := fresh in assert (E : v = w) by lia; subst v
  end.

(** What [lia] should know of the powers of 2. *)
Ltac with_powers :=
  repeat match goal with
  | H : ?w <= ?k |- context [2 ^ ?k] =>
    is_var w; is_var k;
    lazymatch goal with
    | _ : 2 ^ w <= 2 ^ k |- _ => fail
    | _ => pose proof (pow2_le w k H)
    end
  end;
  repeat match goal with
  | H : 0 < ?w |- _ =>
    assert_fails (constr_eq w word);  (* 2 to that power is better not computed *)
    lazymatch goal with
    | _ : w < 2 ^ w |- _ => fail
    | _ => pose proof (pow2_ge_2 w H); pose proof (pow2_half w H); pose proof (pow2_gt w (Z.lt_le_incl _ _ H))
    end
  end.

Ltac small :=
  repeat match goal with
  | |- context [?a mod ?M] =>
    lazymatch a with
    | 0 => rewrite Zmod_0_l
    | 1 => rewrite (Z.mod_small 1 M) by lia
    | -1 => rewrite (ones_mod M) by lia
    | ?b mod M => rewrite (Zmod_mod b M)
    | _ => is_var a; rewrite (Z.mod_small a M) by first [lia | apply exponent_small; [lia|range]]
    end
  | |- context [?a mod 1] => rewrite (Zmod_1_r a)
  | |- context [?a mod ?a] => rewrite (Z_mod_same_full a)
  | |- context [Z.rem 0 ?a] => rewrite (Zrem_0_l a)
  | |- context [Z.rem ?a ?a] => rewrite (rem_same a)
  | |- context [Z.rem ?a (signed ?w 1)] => rewrite (rem_signed_1 w a) by lia
  | |- context [signed ?w 0] => rewrite (signed_0 w) by lia
  | |- context [2 ^ ?n =? 0] => rewrite (pow2_eqb_0 n) by lia
  | |- context [nat_of_bit ?b =? 1] => rewrite (nat_of_bit_eqb_1 b)
  | |- context [nat_of_bit ?b =? 0] => rewrite (nat_of_bit_eqb_0 b)
  | |- context [?n =? nat_of_bit ?b] => rewrite (Z.eqb_sym n (nat_of_bit b))
  | |- context [signed (?w + ?n) (signed ?w ?x mod 2 ^ (?w + ?n))] => rewrite (signed_sext w n x) by lia
  | |- context [?a * 2 ^ ?n + ?b =? ?c * 2 ^ ?n + ?b] => rewrite (concat_eqb_first a b c n) by lia
  | |- context [1 =? 0] => change (1 =? 0) with false; cbv iota
  | |- context [(?a / 2 ^ ?n) mod 2 ^ 1 =? 1] => rewrite (one_bit_eqb_1 a n) by lia
  | |- context [(?a / 2 ^ ?n) mod 2 ^ 1 =? 0] => rewrite (one_bit_eqb_0 a n) by lia
  | |- context [?w - ?i + 1] => progress replace (w - i + 1) with 1 by lia
  | |- context [?w - ?i - 0 + 1] => progress replace (w - i - 0 + 1) with w by lia
  end;
  rewrite ?Z.pow_0_r, ?Z.div_1_r, ?Z.mul_1_r, ?Z.mul_1_l, ?Z.mul_0_l, ?Z.mul_0_r, ?Z.add_0_l, ?Z.sub_0_r.

(** Names the terms and integers of a rule, and what it supposes; each order of an unordered rule is a goal. *)
Ltac suppose :=
  red; intros;
  match goal with |- ?P => red end;
  repeat match goal with |- _ /\ _ => split end;
  match goal with |- _ -> _ => idtac | _ => red end;
  let H := fresh "A" in intro H; red in H; unfold_sorts; split_and; subst.

(** Tries truth values and the conditions of if-then-else. *)
Ltac truth_cases :=
  repeat match goal with p : bool |- _ => destruct p end;
  cbv beta iota delta [ite] in *;
  repeat (match goal with
  | |- context [if ?p then _ else _] => let E := fresh in destruct p eqn:E
  | H : context [if ?p then _ else _] |- _ => let E := fresh in destruct p eqn:E
  end; cbv iota in * ).

Ltac conclude :=
  repeat match goal with |- _ /\ _ => split end; try lia.

(** All of it; what remains is about numbers. *)
Ltac start :=
  suppose; truth_cases; destruct_bvs; do 2 (closed_forms; compute_ops; words; subst); equal_widths; with_powers; conclude;
  try (apply bv_eq; [try lia|]); small.

(** ** Bits *)

Ltac bit_rewrite :=
  repeat first
  [ rewrite Z.land_spec
  | rewrite Z.lor_spec
  | rewrite Z.lxor_spec
  | rewrite Z.bits_0
  | rewrite Z.lnot_spec by lia
  | rewrite bit_mod by lia
  | rewrite bit_ones by lia
  | rewrite bit_signed by first [lia | range]
  | rewrite bit_div by lia
  | rewrite bit_concat by range
  | rewrite bit_mul by lia ].

Ltac bit_cases :=
  repeat (match goal with
  | |- context [?a <? ?b] => destruct (Z.ltb_spec a b); try (exfalso; lia)
  | |- context [?a <=? ?b] => destruct (Z.leb_spec a b); try (exfalso; lia)
  end; cbn [andb orb negb xorb]; bit_rewrite).

(** Equates positions of bits of one number, and clears bits beyond the width. *)
Ltac bit_positions :=
  repeat match goal with
  | H : 0 <= ?x < 2 ^ ?w |- context [Z.testbit ?x ?i] => rewrite (bit_above x w i H) by lia
  | |- context [Z.testbit ?x ?i] => rewrite (Z.testbit_neg_r x i) by lia
  end;
  repeat match goal with
  | |- context [Z.testbit ?x ?i] =>
    match goal with
    | |- context [Z.testbit x ?j] => tryif constr_eq i j then fail else replace j with i by lia
    end
  end.

Ltac bit_tables :=
  repeat match goal with |- context [Z.testbit ?x ?i] => destruct (Z.testbit x i) end;
  try reflexivity; intros; discriminate.

Ltac bits_of := bit_rewrite; bit_cases; bit_positions; first [lia | bit_tables].

(** Numbers with the same bits, truth values of bits, or equalities that hold bit by bit on both sides. *)
Ltac bits :=
  lazymatch goal with
  | |- (_ =? _) = (_ =? _) =>
    apply eqb_iff; split; let E := fresh "E" in let i := fresh "i" in let H := fresh "Hi" in
    intro E; apply Z.bits_inj'; intros i H;
    apply (f_equal (fun z => Z.testbit z i)) in E; cbv beta in E; revert E; bits_of
  | |- @eq bool _ _ => bits_of
  | |- _ => apply Z.bits_inj'; let i := fresh "i" in let H := fresh "Hi" in intros i H; bits_of
  end.

(** ** Polynomials modulo 2^w *)

Ltac no_mod a := match a with context [_ mod _] => fail 1 | _ => idtac end.

Ltac congruence_mod :=
  lazymatch goal with
  | |- ?a mod ?M = ?b mod ?M =>
    change (congruent M a b);
    repeat match goal with
    | |- context [?x mod M] => change (x mod M) with (residue M x)
    end;
    rewrite ?(congruent_residue M);
    repeat match goal with
    | |- context [M - ?x] => rewrite (congruent_neg M x)
    | |- context [Z.lnot ?x] => rewrite (congruent_lnot M x)
    end;
    apply congruent_eq; ring
  end.

(** A congruence, or an equality of values, or of such equalities. *)
Ltac ring_mod :=
  lazymatch goal with
  | |- _ mod _ = _ mod _ => congruence_mod
  | |- ?a = ?b mod ?M => rewrite <- (Z.mod_small a M) at 1 by range; congruence_mod
  | |- ?a mod ?M = ?b => rewrite <- (Z.mod_small b M) by range; congruence_mod
  | |- (_ =? _) = true => apply Z.eqb_eq; ring_mod
  | |- (?a =? ?b) = (?c =? ?d) =>
    match goal with
    | |- context [_ mod ?M] =>
      rewrite (eqb_diff a b M), (eqb_diff c d M) by first [lia | range];
      first [ f_equal; congruence_mod | rewrite eqb_opp; f_equal; congruence_mod ]
    end
  end.

(** ** Sums without products: each [mod] and [signed] by cases *)

Ltac mod_cases :=
  repeat match goal with
  | |- context [Z.lnot ?x mod 2 ^ ?w] => no_mod x; rewrite (lnot_mod x w) in * by lia
  | |- context [(?a + ?b) mod ?M] => no_mod a; no_mod b;
      let E := fresh in destruct (mod_add_cases a b M) as [[E ?]|[E ?]]; [lia|lia|rewrite E in *|rewrite E in *]
  | |- context [(?a - ?b) mod ?M] => no_mod a; no_mod b;
      let E := fresh in destruct (mod_sub_cases a b M) as [[E ?]|[E ?]]; [lia|lia|rewrite E in *|rewrite E in *]
  | |- context [(?M - ?b) mod ?M] => no_mod b;
      let E := fresh in destruct (neg_mod_cases b M) as [[E ?]|[E ?]]; [lia|rewrite E in *|rewrite E in *]
  | |- context [?a mod ?M] => no_mod a; rewrite (Z.mod_small a M) in * by lia
  | |- context [Z.testbit ?x (?w - 1)] => no_mod x; rewrite (msb w x) by lia
  | |- context [Z.lxor ?x (2 ^ (?w - 1))] => no_mod x; rewrite (lxor_sign w x) by lia
  | |- context [Z.lxor (2 ^ (?w - 1)) ?x] => no_mod x; rewrite (Z.lxor_comm (2 ^ (w - 1)) x)
  | |- context [(?x / 2 ^ (?w - 1)) mod 2 ^ 1] =>
      let E := fresh in destruct (sign_bit w x) as [[E ?]|[E ?]]; [lia|lia|rewrite E in *|rewrite E in *]
  | |- context [signed ?w ?x mod 2 ^ (?w + ?n)] => no_mod x;
      let E := fresh in destruct (sext_cases w n x) as [? [[E ?]|[E ?]]]; [lia|lia|lia|rewrite E in *|rewrite E in *]
  | |- context [signed ?w ?x] => no_mod x;
      let E := fresh in destruct (signed_cases w x) as [[E ?]|[E ?]]; [lia|lia|rewrite E in *|rewrite E in *]
  end.

Ltac bounds :=
  repeat match goal with
  | |- context [Z.lor ?a ?b] =>
    lazymatch goal with
    | _ : a <= Z.lor a b /\ _ |- _ => fail
    | H : 0 <= a < 2 ^ ?n |- _ => pose proof (lor_bounds a b n ltac:(lia) ltac:(range) ltac:(range))
    end
  | |- context [Z.land ?a ?b] =>
    lazymatch goal with
    | _ : 0 <= Z.land a b /\ _ |- _ => fail
    | _ => pose proof (land_bounds a b ltac:(range) ltac:(range))
    end
  | |- context [?a / ?b] =>
    lazymatch goal with
    | _ : 0 <= a / b <= a |- _ => fail
    | _ => pose proof (quotient_bounds a b ltac:(lia) ltac:(first [lia | apply Z.pow_nonneg; lia]))
    end
  | |- context [?a mod ?b] =>
    is_var b;
    lazymatch goal with
    | _ : 0 <= a mod b <= a |- _ => fail
    | _ => pose proof (remainder_bounds a b ltac:(lia) ltac:(lia))
    end
  end.

Ltac next_powers :=
  repeat match goal with |- context [2 ^ (?w + 1)] => rewrite (pow2_succ w) in * by lia end.

Ltac linear := bounds; mod_cases; next_powers; lia.

(** ** Width 1 *)

(** Values of one bit are tried. *)
Ltac one_bit :=
  change (2 ^ 1) with 2 in *;
  repeat match goal with
  | H : 0 <= ?x < 2 |- _ =>
    is_var x; let C := fresh in assert (C : x = 0 \/ x = 1) by lia; clear H; destruct C; subst x
  end;
  reflexivity.

(** ** All of them *)

Ltac rule :=
  start; first [reflexivity | lia | solve [one_bit] | solve [ring_mod] | solve [linear] | solve [bits]].

(** ** Counterexamples *)

(** Terms that meet what a rule supposes. *)
Ltac instance :=
  red; unfold_sorts; repeat match goal with |- _ /\ _ => split end; vm_compute; first [reflexivity | discriminate].

(** The rule at some terms and integers, which contradict it. *)
Ltac refute A :=
  red in A;
  match type of A with
  | ?P -> _ => let E := fresh in assert (E : P) by instance; apply A in E; vm_compute in E; split_and; discriminate
  end.
